// VELMORA_API marks what the shared library exports; everything else stays hidden.
// The library builds itself with VELMORA_BUILDING; a program linking the static library
// gets VELMORA_STATIC from its CMake target or its pkg-config flags (Windows needs it).
#pragma once

#if defined(_WIN32) && !defined(VELMORA_STATIC)
#if defined(VELMORA_BUILDING)
#define VELMORA_API __declspec(dllexport)
#else
#define VELMORA_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define VELMORA_API __attribute__((visibility("default")))
#else
#define VELMORA_API
#endif
