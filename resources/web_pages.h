// The maker's pages on the web.
#pragma once

inline constexpr char kProgramPage[] = "http://www.velmoorstack.com/ZELKOR.html";
