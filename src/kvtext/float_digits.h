// Between a double and its decimal digits by one multiplication with a power of ten of 128 bits,
// where a general conversion has numbers of a thousand bits in mind. The few values whose last
// digit or bit would hang on what those 128 bits leave out are refused, for the standard library to
// do.
#pragma once

#include <cstdint>

namespace kv {

// The number d.dddd... times a power of ten, of 17 digits, the first of them not zero.
struct SeventeenDigits {
  std::uint64_t digits = 0;
  int power = 0;  // of the first digit: 1234.5 has 3
};

// The digits of a finite value above zero, rounded as printf rounds them. False when that cannot be
// told here.
bool FindDigits(double value, SeventeenDigits& found);

// The bits of the double nearest to `digits` times ten to the `power`. 0 when they cannot be told
// here, and for what is no normal number.
std::uint64_t ComposeDouble(std::uint64_t digits, int power);

}  // namespace kv
