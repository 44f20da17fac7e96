// The private window messages of the main window; both parameters are 0 where nothing else is said.
//
// Dialogs send them to their owner, which passes on what is not its own business, up to the main window.
#pragma once

/// The tray icon is to be shown or taken off as the settings now say.
inline constexpr unsigned WM_TRAY_REFRESH = 0x8008;
/// Mouse messages of the tray icon, with the parameters that the system's tray gives them.
inline constexpr unsigned WM_TRAY_NOTIFY = 0x8009;
/// Everything is to be written to the saved-settings file.
inline constexpr unsigned WM_SAVE_SETTINGS = 0x8010;
