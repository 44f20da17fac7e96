// The saved-settings file: all that the program remembers between runs. Its layout is told in docs/file-formats.md.
//
// Reader and writer run on the thread that owns the record; no engine thread exists while the reader runs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct AppSettings;

enum class SettingsFileStatus {
    Complete,      // every field was read
    CutOff,        // the file broke off or held a bad count: what was read before that stays
    NotFound,      // could not be opened: defaults
    NotOfProgram,  // shorter than the magic: defaults
    WrongMagic,    // defaults
    WrongName,     // defaults
    OtherVersion,  // of another version, and the user did not want it: defaults
};

struct SettingsFileResult {
    SettingsFileStatus status = SettingsFileStatus::NotFound;
    int32_t nError = 0;           // NotFound: the system's code
    bool bOtherVersion = false;   // read, although it is of another version
    std::string strVersion;       // "1.0" in a file of this version
    int32_t nOperationsTold = 0;  // what the file said; opCount holds what was read whole
};

/// Fills the record from the file, defaults first; an empty path means the file beside the executable. Shows the
/// messages of a refusal through ShowMessage and asks for the language (ChooseLanguage) when there is no usable file.
SettingsFileResult LoadSettingsFile(AppSettings* pSettings, const std::string& strPath);

/// Replaces the file by one of the record, as SaveWholeFile does; a null path means the file beside the executable. 0 or
/// the system's error code, and then the file is as it was.
int32_t SaveSettingsFile(const AppSettings& settings, const char* pszPath);

struct SettingsSaveResult {
    bool bForeign = false;  // not saved: the file is not the one that was read or saved here last
    int32_t nError = 0;     // not saved: the system's code
};

/// The settings file of a run that nobody watches: what someone else puts in its place meanwhile is not lost.
class CSettingsFile {
  public:
    /// An empty path means the file beside the executable.
    explicit CSettingsFile(std::string strPath) : m_strPath(std::move(strPath)) {}

    const std::string& Path() const { return m_strPath; }
    /// LoadSettingsFile.
    SettingsFileResult Load(AppSettings* pSettings);
    /// SaveSettingsFile, unless the file holds something else than it did behind the last Load or Save of this object, or
    /// has gone (which is an error), or has come where there was none.
    [[nodiscard]] SettingsSaveResult Save(const AppSettings& settings);

  private:
    const std::string m_strPath;
    std::optional<std::vector<uint8_t>> m_held;  // none: there was no file, or none that could be read
};

/// The path of an executable with its last three characters replaced by "KVR".
std::string SettingsPathFor(const std::string& strModulePath);
