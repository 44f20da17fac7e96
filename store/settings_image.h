// Between the record and the image of its file in memory: what stands behind the header, and the whole file.
//
// No file is touched here and nothing is shown. Same threads as settings_file.h.
#pragma once

#include <cstdint>
#include <vector>

class CByteReader;
struct AppSettings;

/// Sets every field to its default and lets go of the operations. The language stays, and so does what is not saved.
void SetDefaultSettings(AppSettings* pSettings);

/// Reads what follows the version into the record, which holds the defaults. False when the file broke off, held a bad
/// count or asked for more memory than there is: what was read before that stays. *pnOperationsTold is what the file
/// said; opCount is the number of operations that were read whole.
[[nodiscard]] bool ReadSettingsFields(CByteReader* pReader, AppSettings* pSettings, int32_t* pnOperationsTold);

/// The whole file, header included. Operations that run are written as they stand, without a lock; those that are to run
/// are marked as running.
std::vector<uint8_t> BuildSettingsImage(const AppSettings& settings);
