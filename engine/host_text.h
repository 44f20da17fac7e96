// Host texts as users type them: shared by the engine and the dialogs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// True for an empty text and for one of spaces and tabs only.
bool IsBlankText(const std::string& strText);

/// Removes leading and trailing spaces and tabs.
void TrimText(std::string* pstrText);

enum class HostResult {
    Resolved,
    Blank,    // there is nothing to resolve
    Unknown,  // the text names no host
};

/// Replaces a host text by the dotted quad of the host's first address. Blocks while the resolver is asked; nothing is
/// cached. A text that is not resolved is trimmed but otherwise as it was.
[[nodiscard]] HostResult ResolveHostText(std::string* pstrHost);

/// The address of a host text that is a numeric one and needs no look-up, in network byte order. Does not block.
[[nodiscard]] bool ParseHostAddress(std::string_view strHost, uint32_t* pdwIp);

/// The first address of a host text, in network byte order. Blocks like ResolveHostText, save for a numeric address. False
/// for a blank text, for one that names no host or is longer than any host's name, and when there is no memory for it.
[[nodiscard]] bool ResolveHostAddress(std::string_view strHost, uint32_t* pdwIp);
