// What tests that count on the machine allow it. Under the emulator of another processor programs are some ten times
// slower, and its memory counts as theirs: there the camera's time runs less fast, and less is asked at once.
#pragma once

#ifdef EMULATED
inline constexpr int TIME_SLOWER = 4; // than a test has the camera's time run otherwise
inline constexpr unsigned PTZD_MOST_KB = 64 * 1024;
inline constexpr int DEAF_CLIENTS = 10;
inline constexpr int HOSTILE_ROUNDS = 40;
#else
inline constexpr int TIME_SLOWER = 1;
inline constexpr unsigned PTZD_MOST_KB = 32 * 1024;
inline constexpr int DEAF_CLIENTS = 200;
inline constexpr int HOSTILE_ROUNDS = 200;
#endif
