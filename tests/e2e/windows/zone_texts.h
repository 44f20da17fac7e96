// The texts of one language as they stand in the executable's table, to be compared with what its windows show.
#pragma once

#include <map>
#include <string>

/// By slot number, in the system's code page; empty when the program has no such zone. Line ends and the like stay
/// escaped: captions hold none.
std::map<int, std::string> ZoneTexts(const std::string& strProgram, const std::string& strZone);
