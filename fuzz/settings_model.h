// A saved-settings file taken apart into its fields by docs/file-formats.md, without the program's own reader.
#pragma once

#include <string>
#include <vector>

#include "store/settings_file.h"

/// The fields that are whole, each in the form in which a writer gives it.
struct FileParts {
    SettingsFileStatus status = SettingsFileStatus::Complete;
    bool bOtherVersion = false;
    int32_t nOperationsTold = 0;
    std::vector<std::string> ahead;
    std::vector<std::string> records;
    std::vector<std::string> behind;
};

FileParts TakeApart(const std::string& strFile);

/// The file of these parts, with those of the defaults where parts break off.
std::string PutTogether(const FileParts& parts, const FileParts& defaults);
