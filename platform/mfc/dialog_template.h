// A dialog template of the executable as an altered copy: the resource itself cannot be changed.
//
// Reads both forms of template (DIALOG and DIALOGEX). The copy is checked as far as its head goes, since a font is put
// into it by moving everything behind. A plain value; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/system/windows_api.h"

class CDialogTemplate {
  public:
    /// Copies the template with this number. False when there is none or its head is damaged; the object is empty then.
    [[nodiscard]] bool Load(UINT nTemplate);
    /// The same from bytes that are no resource.
    [[nodiscard]] bool Load(std::span<const uint8_t> bytes);

    /// Replaces the font's face and size in points, or adds them where the template names no font. Weight and slant
    /// stay. False when nothing is loaded or the face cannot be converted.
    [[nodiscard]] bool SetFont(const std::string& strFace, WORD wPoints);

    /// Of the template as it is now: empty and 0 when it names no font.
    std::wstring FontFace() const;
    WORD FontPoints() const;

    /// For CreateDialogIndirect; null when nothing is loaded. Lives until the object changes.
    const DLGTEMPLATE* Get() const;

  private:
    struct Head {
        bool bExtended = false;
        bool bHasFont = false;
        size_t nStyle = 0;    // where the dialog's style stands
        size_t nFont = 0;     // where the font's point size stands or would stand
        size_t nFace = 0;     // where the face's name begins, if there is a font
        size_t nHeadEnd = 0;  // behind the last byte of the head, before the alignment of the first control
    };
    bool ReadHead(Head* pHead) const;

    std::vector<uint8_t> m_bytes;
};
