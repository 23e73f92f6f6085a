// Assertion macros.
//
// TW_ASSERT(cond) reports "Assertion failed: %s\n\n" with the condition's
// text through report_error; TW_ASSERT_MSG(cond, format, args...) appends a
// message of its own. The report names the file by its path under the source
// root without extension (foundation/memory/heap_allocator), computed at
// compile time, and the line of the check. Assertions are always compiled in:
// in the default error mode a failed one ends the process, in the others the
// report returns or throws (foundation/error/error.h).
#pragma once

#include "foundation/error/error.h"

namespace foundation {
namespace detail {

template <size_t N>
struct SourcePathText {
  char text[N];
};

// Turns __FILE__ (already relative to the source root through the compiler's
// prefix map) into the path without its extension.
template <size_t N>
constexpr SourcePathText<N> make_source_path(const char (&file)[N]) {
  SourcePathText<N> result{};
  size_t start = 0;
  if (N > 2 && file[0] == '.' && file[1] == '/')
    start = 2;
  size_t name_start = start;
  for (size_t i = start; i + 1 < N; ++i)
    if (file[i] == '/' || file[i] == '\\')
      name_start = i + 1;
  size_t end = N - 1;
  for (size_t i = N - 1; i > name_start; --i) {
    if (file[i - 1] == '.') {
      end = i - 1;
      break;
    }
  }
  for (size_t i = start; i < end; ++i)
    result.text[i - start] = file[i];
  return result;
}

} // namespace detail
} // namespace foundation

#define TW_SOURCE_PATH                                                                                      \
  ([]() -> const char* {                                                                                    \
    static constexpr auto tw_source_path_text = ::foundation::detail::make_source_path(__FILE__);          \
    return tw_source_path_text.text;                                                                        \
  }())

#define TW_ASSERT(condition)                                                                                \
  (TW_LIKELY(condition) ? (void)0                                                                           \
                        : ::foundation::report_error(__LINE__, TW_SOURCE_PATH, "Assertion failed: %s\n\n", #condition))

#define TW_ASSERT_MSG(condition, format, ...)                                                               \
  (TW_LIKELY(condition) ? (void)0                                                                           \
                        : ::foundation::report_error(__LINE__, TW_SOURCE_PATH, "Assertion failed: %s\n\n" format, \
                                                     #condition, ##__VA_ARGS__))

// The same with the failed condition worded by hand: for checks whose
// report names the condition as the system has always named it (for example
// a platform call's result) rather than as this code spells it.
#define TW_ASSERT_TEXT(condition, condition_text, format, ...)                                              \
  (TW_LIKELY(condition) ? (void)0                                                                           \
                        : ::foundation::report_error(__LINE__, TW_SOURCE_PATH, "Assertion failed: %s\n\n" format, \
                                                     condition_text, ##__VA_ARGS__))
