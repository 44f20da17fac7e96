// Host texts as users type them: shared by the engine and the dialogs.
#pragma once

#include <cstdint>
#include <string>

class TextTable;

/// True for an empty text and for one of spaces and tabs only.
bool IsBlankText(const std::string& strText);

/// Removes leading and trailing spaces and tabs.
void TrimText(std::string* pstrText);

/// Replaces a host text by the dotted quad of the host's first address. Blocks while the resolver is asked; nothing is
/// cached. False for a blank text and for one that names no host; the text is then trimmed but otherwise as it was. With
/// pMessages (the texts in force) a failure is also shown to the user; null asks for no message.
bool ResolveHostText(std::string* pstrHost, const TextTable* pMessages);

/// The same without a message, as the binary address in network byte order.
bool ResolveHostAddress(const std::string& strHost, uint32_t* pdwIp);
