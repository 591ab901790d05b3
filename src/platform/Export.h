#pragma once

/// Marks what hosts may link to. Everything else has hidden visibility.
#if defined(_WIN32)
#if defined(ZELHUB_BUILDING)
#define ZEL_API __declspec(dllexport)
#elif defined(ZELHUB_STATIC)
#define ZEL_API
#else
#define ZEL_API __declspec(dllimport)
#endif
#else
#define ZEL_API __attribute__((visibility("default")))
#endif

/// The calling convention of the plain exported functions.
#if defined(_WIN32)
#define ZEL_CALL __cdecl
#else
#define ZEL_CALL
#endif
