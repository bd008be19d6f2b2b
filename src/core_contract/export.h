// Linkage of what crosses the libraries: each library exports what it marks with its own macro,
// and nothing else is visible outside it.
#pragma once

#if defined(_WIN32)
#define ZELK_EXPORT __declspec(dllexport)
#define ZELK_IMPORT __declspec(dllimport)
#else
#define ZELK_EXPORT __attribute__((visibility("default")))
#define ZELK_IMPORT __attribute__((visibility("default")))
#endif

#if defined(ZELK_BUILDS_CORE)
#define ZELK_CORE_API ZELK_EXPORT
#else
#define ZELK_CORE_API ZELK_IMPORT
#endif

#if defined(ZELK_BUILDS_FOUNDATION)
#define ZELK_FOUNDATION_API ZELK_EXPORT
#else
#define ZELK_FOUNDATION_API ZELK_IMPORT
#endif

#if defined(ZELK_BUILDS_EPIC)
#define ZELK_EPIC_API ZELK_EXPORT
#else
#define ZELK_EPIC_API ZELK_IMPORT
#endif
