// The texts of the language table as its sources wrote them: read from the UTF-16 resource without the program's parser,
// so that neither a code page nor the parser hides a fault in the wording. Nothing is checked here but that a slot stands
// once; a zone that the table lacks is empty.
#pragma once

#include <map>
#include <string>

/// Texts by slot, in UTF-8, escapes as they stand.
using Zone = std::map<int, std::string>;

/// The whole table in UTF-8.
const std::string& TableText();

/// The entries between a zone's label and the next one.
Zone ReadZone(const std::string& strTable, const std::string& strLabel);
