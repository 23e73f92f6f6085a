// Float text as C's printf prints it, without printf.
//
// format_float_g writes a 32-bit float widened to double exactly as
// printf("%g") does with glibc (six significant digits, correctly rounded
// with ties to even, fixed or exponent form as %g picks, trailing zeros
// dropped), except that the exponent always has at least three digits
// ("1e-007", "1.23457e+006"). Non-finite values print as "inf", "-inf",
// "nan", "-nan". format_float_f writes printf("%f") of the widened value:
// all integer digits and six decimals, correctly rounded.
//
// The text is the same on every platform and in every locale. Both write no
// terminating zero and return the number of characters written. The output
// buffer must hold the MAX_CHARS below: the formatters copy in fixed-size
// pieces and may write past the end of the text within that room.
#pragma once

#include "foundation/platform.h"

namespace foundation {

const uint32_t FLOAT_G_MAX_CHARS = 24;  // the text itself is at most 13: "-1.23457e+038"
const uint32_t FLOAT_F_MAX_CHARS = 48;  // "-340282346638528859811704183484516925440.000000"
const uint32_t FLOAT_SHORTEST_MAX_CHARS = 24; // "-1.1754944e-38"

uint32_t format_float_g(float value, char* out);
uint32_t format_float_f(float value, char* out);
// The shortest decimal text that reads back as exactly `value` (at most
// nine significant digits; fixed or exponent form, whichever is shorter:
// "0.1", "1.5e-07", "16777216"). Non-finite values print as "inf", "-inf",
// "nan". For output that must not lose a value.
uint32_t format_float_shortest(float value, char* out);

} // namespace foundation
