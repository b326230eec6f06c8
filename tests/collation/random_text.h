// Random short texts that are likely to differ little: letters that share bases, ligatures, digits,
// symbols and spaces of ISO 8859-1.
#pragma once

#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "support/host.h"

namespace kvtest {

class RandomText {
 public:
  explicit RandomText(unsigned seed) : engine_(seed) {}

  unsigned Below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
  int Pick(std::initializer_list<int> values) {
    return values.begin()[Below(static_cast<unsigned>(values.size()))];
  }

  char Character() {
    static constexpr char kCharacters[] =
        "aAbeEosSzZiI12 -*?\xE4\xC4\xE5\xE9\xF6\xFC\xDF\xE6\xC6\xF8\xB2\xAA\xFE";
    return kCharacters[Below(sizeof kCharacters - 1)];
  }

  std::string Latin(unsigned maxLength) {
    std::string text;
    for (unsigned left = Below(maxLength + 1); left > 0; --left) text += Character();
    return text;
  }

  // The text with one or two small changes, sometimes with letters spelled out.
  std::string Mutated(std::string text) {
    for (unsigned left = Below(3); left > 0; --left) {
      const unsigned at = Below(static_cast<unsigned>(text.size()) + 1);
      switch (Below(4)) {
        case 0:
          text.insert(at, 1, Character());
          break;
        case 1:
          text.erase(at, 1);
          break;
        case 2:
          if (at < text.size()) text[at] = Character();
          break;
        default:
          if (at < text.size() && text[at] == '\xDF') text.replace(at, 1, "ss");
          break;
      }
    }
    return text;
  }

 private:
  std::mt19937 engine_;
};

// ISO 8859-1 as 16-bit units with a terminator, the other way round than in memory when `reversed`.
inline std::vector<unsigned char> Widened(const std::string& text, bool reversed) {
  std::vector<unsigned short> units;
  for (char unit : text + '\0') units.push_back(static_cast<unsigned char>(unit));
  return support::StoredBytes(units.data(), units.size(), support::kHostIsBig != reversed);
}

}  // namespace kvtest
