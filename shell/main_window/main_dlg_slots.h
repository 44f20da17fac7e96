// Numbers of the texts that the main window shows.
#pragma once

#include <cstdint>

inline constexpr uint32_t kSlotStatusHeader = 95;  // the six columns follow one another
inline constexpr uint32_t kSlotListLabel = 101;
inline constexpr uint32_t kSlotProgramGroup = 102;
inline constexpr uint32_t kSlotThreads = 103;
inline constexpr uint32_t kSlotSessions = 104;
inline constexpr uint32_t kSlotTotalSessions = 105;
inline constexpr uint32_t kSlotClientBytes = 106;
inline constexpr uint32_t kSlotServerBytes = 107;
inline constexpr uint32_t kSlotClientRate = 108;
inline constexpr uint32_t kSlotServerRate = 109;
inline constexpr uint32_t kSlotNew = 110;
inline constexpr uint32_t kSlotEdit = 111;
inline constexpr uint32_t kSlotDelete = 112;
inline constexpr uint32_t kSlotStart = 113;
inline constexpr uint32_t kSlotStop = 114;
inline constexpr uint32_t kSlotPfoGroup = 115;
inline constexpr uint32_t kSlotStartPrevious = 116;
inline constexpr uint32_t kSlotStartPreviousTitle = 117;
inline constexpr uint32_t kSlotStopped = 118;
inline constexpr uint32_t kSlotClientAddress = 119;
inline constexpr uint32_t kSlotHideInTray = 120;
inline constexpr uint32_t kSlotHideInTrayTitle = 121;
inline constexpr uint32_t kSlotStarted = 122;
inline constexpr uint32_t kSlotErrorStopping = 123;
inline constexpr uint32_t kSlotErrorStarting = 124;
inline constexpr uint32_t kSlotNoneSelected = 125;
inline constexpr uint32_t kSlotNoneSelectedTitle = 126;
inline constexpr uint32_t kSlotNoEdit = 127;
inline constexpr uint32_t kSlotNotWhileStopping = 128;
inline constexpr uint32_t kSlotStopping = 129;
inline constexpr uint32_t kSlotNoDelete = 130;
inline constexpr uint32_t kSlotSureToDelete = 131;
inline constexpr uint32_t kSlotSure = 132;
inline constexpr uint32_t kSlotNoStart = 133;
inline constexpr uint32_t kSlotFileMenu = 202;
inline constexpr uint32_t kSlotExit = 203;
inline constexpr uint32_t kSlotSettingsMenu = 204;
inline constexpr uint32_t kSlotMiscellaneous = 205;
inline constexpr uint32_t kSlotAutoLog = 206;
inline constexpr uint32_t kSlotPfoMenu = 207;
inline constexpr uint32_t kSlotStartAll = 208;
inline constexpr uint32_t kSlotStopAll = 209;
inline constexpr uint32_t kSlotHelpMenu = 210;
inline constexpr uint32_t kSlotHelp = 211;
inline constexpr uint32_t kSlotAbout = 212;
inline constexpr uint32_t kSlotRestore = 213;
inline constexpr uint32_t kSlotMinimize = 214;
inline constexpr uint32_t kSlotLanguageMenu = 217;
inline constexpr uint32_t kSlotChangeLanguage = 218;
