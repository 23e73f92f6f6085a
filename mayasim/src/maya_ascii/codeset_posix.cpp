// Conversion from a file's codeset through the C library's iconv.
#include "codeset.h"

#include <errno.h>
#include <iconv.h>

#include <cctype>

namespace mayasim {
namespace maya_ascii {

struct Codeset::Converter {
  iconv_t handle = iconv_t(-1);
  ~Converter() {
    if (handle != iconv_t(-1))
      iconv_close(handle);
  }
};

Codeset::Codeset() {}
Codeset::~Codeset() {}

namespace {

// The name iconv knows for Maya's: a bare number is a Windows code page.
std::string iconv_name(std::string_view name) {
  bool digits = !name.empty();
  for (char c : name)
    digits = digits && std::isdigit(static_cast<unsigned char>(c));
  return digits ? "CP" + std::string(name) : std::string(name);
}

bool is_utf8_name(std::string_view name) {
  std::string lower;
  for (char c : name)
    if (c != '-' && c != '_')
      lower += char(std::tolower(static_cast<unsigned char>(c)));
  return lower == "utf8" || lower == "65001";
}

} // namespace

bool Codeset::set(std::string_view name, std::string& why) {
  if (is_utf8_name(name)) {
    _name = std::string(name);
    _utf8 = true;
    _converter.reset();
    return true;
  }
  std::unique_ptr<Converter> c(new Converter);
  c->handle = iconv_open("UTF-8", iconv_name(name).c_str());
  if (c->handle == iconv_t(-1)) {
    why = "its codeset \"" + std::string(name) + "\" is not one this machine can convert from";
    return false;
  }
  _name = std::string(name);
  _utf8 = false;
  _converter = std::move(c);
  return true;
}

std::string Codeset::to_utf8(std::string_view text, bool* invalid) const {
  if (is_ascii(text))
    return std::string(text);
  if (_utf8 || !_converter)
    return valid_utf8(text, invalid);
  iconv(_converter->handle, nullptr, nullptr, nullptr, nullptr);
  std::string out;
  out.resize(text.size() * 4 + 8);
  char* in = const_cast<char*>(text.data());
  size_t in_left = text.size();
  char* at = &out[0];
  size_t out_left = out.size();
  while (in_left > 0) {
    size_t r = iconv(_converter->handle, &in, &in_left, &at, &out_left);
    if (r != size_t(-1))
      break;
    if (errno == E2BIG) { // cannot happen with four bytes a byte, but never loop
      break;
    }
    // A byte the codeset has no character for (or a sequence cut short):
    // the replacement character, and on past it.
    if (invalid)
      *invalid = true;
    if (out_left < 3)
      break;
    const char replacement[] = "\xEF\xBF\xBD";
    for (int i = 0; i < 3; ++i)
      *at++ = replacement[i];
    out_left -= 3;
    ++in;
    --in_left;
  }
  out.resize(size_t(at - &out[0]));
  return out;
}

} // namespace maya_ascii
} // namespace mayasim
