#include "codeset.h"

#include <stdint.h>

namespace mayasim {
namespace maya_ascii {

bool is_ascii(std::string_view text) {
  for (char c : text)
    if (static_cast<unsigned char>(c) >= 0x80)
      return false;
  return true;
}

std::string valid_utf8(std::string_view text, bool* invalid) {
  std::string out;
  out.reserve(text.size());
  size_t i = 0, n = text.size();
  while (i < n) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    bool ok = length > 0 && i + length <= n;
    uint32_t code = length == 1 ? c : length == 2 ? c & 0x1F : length == 3 ? c & 0x0F : c & 0x07;
    for (size_t k = 1; ok && k < length; ++k) {
      unsigned char d = static_cast<unsigned char>(text[i + k]);
      ok = (d >> 6) == 2;
      code = (code << 6) | (d & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
    static const uint32_t LEAST[5] = {0, 0, 0x80, 0x800, 0x10000};
    ok = ok && code >= LEAST[length] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    if (ok) {
      out.append(text.data() + i, length);
      i += length;
    } else {
      out += "\xEF\xBF\xBD";
      if (invalid)
        *invalid = true;
      ++i;
    }
  }
  return out;
}

} // namespace maya_ascii
} // namespace mayasim
