// A dialog template of the executable as an altered copy: the resource itself cannot be changed.
//
// The program's templates are of the form DIALOG and name their font; the other forms are refused. A plain value; any
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/system/windows_api.h"

class CDialogTemplate {
  public:
    /// Copies the template with this number. False when there is none of that form; the object is empty then.
    [[nodiscard]] bool Load(UINT nTemplate);

    /// Replaces the font's face and size in points. False when nothing is loaded or the face cannot be converted.
    [[nodiscard]] bool SetFont(const std::string& strFace, WORD wPoints);

    /// For CreateDialogIndirect; null when nothing is loaded. Lives until the object changes.
    const DLGTEMPLATE* Get() const;

  private:
    uint16_t Unit(size_t nPosition) const { return nPosition < m_units.size() ? m_units[nPosition] : uint16_t{0}; }
    size_t BehindText(size_t nPosition) const;
    size_t Font() const;

    std::vector<uint16_t> m_units;
};
