#include "foundation/utility/encoding.h"

#include "foundation/error/assert.h"

namespace foundation {
namespace encoding {

bool utf8_to_utf16(const char* utf8, Vector<uint16_t>& out) {
  const unsigned char* p = reinterpret_cast<const unsigned char*>(utf8);
  while (*p) {
    uint32_t c = *p;
    int extra;
    uint32_t minimum;
    if (c < 0x80) {
      extra = 0;
      minimum = 0;
    } else if ((c & 0xE0) == 0xC0) {
      extra = 1;
      c &= 0x1F;
      minimum = 0x80;
    } else if ((c & 0xF0) == 0xE0) {
      extra = 2;
      c &= 0x0F;
      minimum = 0x800;
    } else if ((c & 0xF8) == 0xF0) {
      extra = 3;
      c &= 0x07;
      minimum = 0x10000;
    } else {
      TW_ASSERT_MSG(false, "Archive not utf-8 encoded %s", utf8);
      return false;
    }
    ++p;
    for (int i = 0; i < extra; ++i, ++p) {
      if ((*p & 0xC0) != 0x80) {
        TW_ASSERT_MSG(false, "Archive not utf-8 encoded %s", utf8);
        return false;
      }
      c = (c << 6) | (*p & 0x3F);
    }
    if (c < minimum) {
      TW_ASSERT_MSG(false, "Archive not utf-8 encoded %s", utf8);
      return false;
    }
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) {
      TW_ASSERT_MSG(false, "Cannot encode character");
      return false;
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out.push_back(uint16_t(0xD800 | (c >> 10)));
      out.push_back(uint16_t(0xDC00 | (c & 0x3FF)));
    } else {
      out.push_back(uint16_t(c));
    }
  }
  out.push_back(0);
  return true;
}

} // namespace encoding
} // namespace foundation
