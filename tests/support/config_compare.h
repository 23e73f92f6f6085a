// Comparing two DynamicConfigValue trees the way a text round trip keeps
// them: structure, keys, strings, booleans and integers exactly; numbers
// that print as floats only approximately (six significant digits are kept,
// and a float that prints without a fraction reads back as an integer).
// Header-only so that the fuzz targets can use it too.
#pragma once

#include "foundation/config/dynamic_config_value.h"

#include <math.h>
#include <string.h>
#include <string>

namespace test {

inline bool same_number(const foundation::DCV& a, const foundation::DCV& b) {
  if (a.is_integer() && b.is_integer())
    return a.to_integer() == b.to_integer();
  double x = a.to_float(), y = b.to_float();
  if (isnan(x) || isnan(y))
    return isnan(x) && isnan(y);
  return fabs(x - y) <= 1e-5 * (fabs(x) > fabs(y) ? fabs(x) : fabs(y)) + 1e-30;
}

// Empty when equal, else the path of the first difference.
inline std::string first_difference(const foundation::DCV& a, const foundation::DCV& b, const std::string& path = "") {
  using foundation::DCV;
  bool a_number = a.is_integer() || a.is_float();
  bool b_number = b.is_integer() || b.is_float();
  if (a_number && b_number)
    return same_number(a, b) ? "" : path + " (number)";
  if (a.kind() != b.kind())
    return path + " (kind)";
  switch (a.kind()) {
  case DCV::BOOL:
    return a.to_bool() == b.to_bool() ? "" : path + " (bool)";
  case DCV::STRING:
    return a.string_length() == b.string_length() && memcmp(a.to_string(), b.to_string(), a.string_length()) == 0
               ? ""
               : path + " (string)";
  case DCV::ARRAY: {
    if (a.size() != b.size())
      return path + " (size)";
    for (uint32_t i = 0; i < a.size(); ++i) {
      std::string d = first_difference(a.at(i), b.at(i), path + "[" + std::to_string(i) + "]");
      if (!d.empty())
        return d;
    }
    return "";
  }
  case DCV::OBJECT: {
    DCV::Iterator i = a.begin(), j = b.begin();
    for (; i != a.end() && j != b.end(); ++i, ++j) {
      if (strcmp(i.key().c_str(), j.key().c_str()) != 0)
        return path + "." + i.key().c_str() + " (key)";
      std::string d = first_difference(i.value(), j.value(), path + "." + i.key().c_str());
      if (!d.empty())
        return d;
    }
    return (i == a.end()) == (j == b.end()) ? "" : path + " (member count)";
  }
  default:
    return "";
  }
}

} // namespace test
