// Platform switches for the foundation.
//
// The one place outside the *_posix.cpp / *_win32.cpp files that may test
// which operating system, word size or compiler we are built for. Portable
// code uses the TW_* macros below instead of compiler-specific spellings.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
  #define TW_WINDOWS 1
  #define TW_POSIX 0
#else
  #define TW_WINDOWS 0
  #define TW_POSIX 1
#endif

#if UINTPTR_MAX > 0xFFFFFFFFu
  #define TW_64BIT 1
#else
  #define TW_64BIT 0
#endif

#if defined(__GNUC__) || defined(__clang__)
  #define TW_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
  #define TW_NOINLINE __attribute__((noinline))
  #define TW_LIKELY(x) __builtin_expect(!!(x), 1)
  #define TW_UNLIKELY(x) __builtin_expect(!!(x), 0)
#else
  #define TW_PRINTF_FORMAT(fmt, args)
  #define TW_NOINLINE __declspec(noinline)
  #define TW_LIKELY(x) (x)
  #define TW_UNLIKELY(x) (x)
#endif

// AddressSanitizer is on (gcc defines the first, clang answers the second).
#if defined(__SANITIZE_ADDRESS__)
  #define TW_ASAN 1
#elif defined(__has_feature)
  #if __has_feature(address_sanitizer)
    #define TW_ASAN 1
  #endif
#endif
#ifndef TW_ASAN
  #define TW_ASAN 0
#endif

#if defined(__SANITIZE_THREAD__)
  #define TW_TSAN 1
#elif defined(__has_feature)
  #if __has_feature(thread_sanitizer)
    #define TW_TSAN 1
  #endif
#endif
#ifndef TW_TSAN
  #define TW_TSAN 0
#endif

// Name of the platform the system runs on, as the console reports it.
#if TW_WINDOWS
  #define TW_PLATFORM_NAME "win32"
#else
  #define TW_PLATFORM_NAME "linux"
#endif

// What separates the folders of a search-path variable (PATH,
// MAYA_SCRIPT_PATH): ';' on Windows, ':' elsewhere.
#if TW_WINDOWS
  #define TW_PATH_LIST_SEPARATOR ';'
#else
  #define TW_PATH_LIST_SEPARATOR ':'
#endif
