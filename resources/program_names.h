// How the program names itself: window titles, version checks and the executable's name beside its files.
#pragma once

inline constexpr char kProgramName[] = "Velmoorstack ZELKOR";
inline constexpr char kProgramVersion[] = "1.0";
inline constexpr char kVersionText[] = "v1.0.7.2 [2007.01.25]";
inline constexpr char kInstalledFileName[] = "VelmoorstackZELKORv1.0.exe";
