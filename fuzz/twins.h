// Two byte strings out of one input. A mutation seldom makes the same bytes in two places, so what
// comparing does behind a long common beginning, and where one text ends within the other, is
// hardly ever tried with two strings that have nothing to do with each other. Twins are one string
// twice.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

struct Twins {
  using Bytes = std::vector<unsigned char>;

  // The first `size1` bytes are one string. Without `alike` the rest is the other. With it the
  // other is the first again, and the rest says what is different: a byte for what one of them has
  // less at its end (bit 0: which, then how much), then pairs of a place and the byte there.
  Twins(const unsigned char* data, std::size_t size, std::size_t size1, bool alike)
      : first(data, data + size1), second(data + size1, data + size) {
    if (!alike || second.empty()) return;
    const Bytes changes(second);
    second = first;
    for (std::size_t i = 1; i + 1 < changes.size() && !second.empty(); i += 2) {
      second[changes[i] % second.size()] = changes[i + 1];
    }
    Bytes& cut = (changes[0] & 1) != 0 ? first : second;
    const std::size_t less = std::min<std::size_t>(cut.size(), changes[0] / 2);
    // A new vector, so that the allocation ends with the bytes.
    cut = Bytes(cut.begin(), cut.end() - static_cast<std::ptrdiff_t>(less));
  }

  Bytes first;
  Bytes second;
};
