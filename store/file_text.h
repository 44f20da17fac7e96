// The text field of the saved-settings file: a signed 32-bit count, and that many bytes with at least one NUL.
#pragma once

#include <string>
#include <string_view>

class CByteReader;
class CByteWriter;

/// Takes the text up to the first NUL; all bytes of the field are passed over. False, with the output as it was, when
/// the count is bad, when fewer bytes are left than it says, or when there is no memory for the text.
[[nodiscard]] bool ReadFileText(std::string* pstrText, CByteReader* pReader);

/// Writes the text up to its first NUL. A text that no reader would take back is cut to the longest that one takes.
void WriteFileText(std::string_view strText, CByteWriter* pWriter);
