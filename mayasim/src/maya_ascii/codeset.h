// The character set of a Maya ASCII file's strings and names.
//
// Maya writes the codeset of the machine that saved the file in the header
// ("//Codeset: 1252" — a Windows code page —, "//Codeset: UTF-8",
// "//Codeset: EUC-JP") and, in some versions, as fileInfo "codeset". When
// Maya opens the file it reads its strings in that codeset. mayasim keeps
// every string as UTF-8: text in any other codeset is converted, so that a
// name or path saved on a Windows machine in code page 1251 reaches the
// export as the same characters, never as stray bytes. Text that is plain
// ASCII (nearly all of it) is passed through untouched.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace mayasim {
namespace maya_ascii {

class Codeset {
public:
  Codeset();
  ~Codeset();
  Codeset(const Codeset&) = delete;
  Codeset& operator=(const Codeset&) = delete;

  // Sets the file's codeset by the name Maya wrote. False (with the reason)
  // when this machine cannot convert from it; the codeset is then left as
  // it was.
  bool set(std::string_view name, std::string& why);
  const std::string& name() const { return _name; }

  // `text` as UTF-8. Bytes that are not valid in the codeset become U+FFFD
  // and set *invalid.
  std::string to_utf8(std::string_view text, bool* invalid) const;

private:
  struct Converter;
  std::string _name = "UTF-8";
  bool _utf8 = true;
  std::unique_ptr<Converter> _converter;
};

// Whether `text` holds only ASCII bytes.
bool is_ascii(std::string_view text);

// `text` with bytes that are not valid UTF-8 replaced by U+FFFD; *invalid
// set when there were any.
std::string valid_utf8(std::string_view text, bool* invalid);

} // namespace maya_ascii
} // namespace mayasim
