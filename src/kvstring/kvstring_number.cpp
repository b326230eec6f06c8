// KvString: numbers from text. Values beyond 32 (or 64) bits give the nearest number in both ABIs.
// 8-bit text is read by the C library; 16-bit text is always decimal and is first narrowed to what
// the C library needs to see of it.

#include <cerrno>
#include <cstdlib>
#include <limits>

#include "kvmodule.h"
#include "kvstring.h"
#include "kvstring/narrow_text.h"
#include "kvstring/string_edit.h"
#include "kvtext/float_text.h"
#include "kvtext/number_text.h"

namespace kv {
namespace {

constexpr int kRadixFromPrefix = 0;
constexpr int kDecimal = 10;

// Bit 0 of the module options takes the radix detection back to plain decimal.
int ConversionRadix() {
  return (___KvTypeMgrOptions() & 1) != 0 ? kDecimal : kRadixFromPrefix;
}

constexpr bool IsBlank(unsigned short unit) {
  return unit == ' ' || (unit >= 9 && unit <= 13);
}

// Sign and leading digits of a 16-bit text as bytes. Twenty digits after the zeros are enough to
// pass the 64-bit limits.
struct NarrowNumber {
  char text[24];

  explicit NarrowNumber(const KvString& source) {
    const Text whole = TextOf(source);
    unsigned length = 0;
    unsigned index = 0;
    // Behind a block without terminator there is none either.
    const auto unit = [&] {
      return index < whole.length ? UnitAt(whole.units, true, index)
                                  : static_cast<unsigned short>(0);
    };
    while (IsBlank(unit())) ++index;
    if (unit() == '-' || unit() == '+') {
      text[length++] = static_cast<char>(unit());
      ++index;
    }
    while (unit() == '0') ++index;
    while (unit() >= '0' && unit() <= '9' && length < 22) {
      text[length++] = static_cast<char>(unit());
      ++index;
    }
    text[length] = 0;
  }
};

long long ReadInteger64(const KvString& text, int radix) {
  const int errorBefore = errno;
  const long long number = KvIsWideCodeSet(text.GetCodeSet())
                               ? std::strtoll(NarrowNumber(text).text, nullptr, kDecimal)
                               : std::strtoll(NarrowText(text).Get(), nullptr, radix);
  errno = errorBefore;
  return number;
}

int ReadInteger32(const KvString& text, int radix) {
  const long long number = ReadInteger64(text, radix);
  if (number > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  if (number < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  return static_cast<int>(number);
}

// The members that report failure want a digit or a minus sign in front; blanks and "+" are not
// numbers to them, so that a caller can tell a number from a text.
bool BeginsANumber(const KvString& text) {
  const KvChar first(text.StrGet(), text.GetCodeSet(), text.GetLanguage());
  return first.Value() == '-' || first.IsDigit();
}

}  // namespace

unsigned long long ReadUnsigned(const KvString& text, unsigned bits) {
  const NarrowText narrow(text);
  const bool wide = KvIsWideCodeSet(text.GetCodeSet());
  const char* begin = SkipBlanks(narrow.Get());
  const IntegerText number =
      ReadInteger(begin, begin + std::strlen(begin), wide ? kDecimal : ConversionRadix());
  return number.end != nullptr ? SaturateUnsigned(number, bits) : 0;
}

}  // namespace kv

KvString::operator int() const {
  return kv::ReadInteger32(*this, kv::ConversionRadix());
}

KvString::operator short() const {
  return static_cast<short>(static_cast<int>(*this));
}

KvString::operator long long() const {
  return kv::ReadInteger64(*this, kv::ConversionRadix());
}

KvString::operator double() const {
  const kv::NarrowText text(*this);
  return kv::ScanDefaultFloat(text.Get(), text.End());
}

int KvString::Atol(int& out) const {
  out = 0;
  if (!kv::BeginsANumber(*this)) return -1;
  out = kv::ReadInteger32(*this, kv::kDecimal);
  return kvOk;
}

int KvString::Atoll(long long& out) const {
  out = 0;
  if (!kv::BeginsANumber(*this)) return -1;
  out = kv::ReadInteger64(*this, kv::kDecimal);
  return kvOk;
}

int KvString::Strtol(int& out) const {
  out = 0;
  if (!kv::BeginsANumber(*this)) return -1;
  out = kv::ReadInteger32(*this, kv::kRadixFromPrefix);
  return kvOk;
}

int KvString::Strtoll(long long& out) const {
  out = 0;
  if (!kv::BeginsANumber(*this)) return -1;
  out = kv::ReadInteger64(*this, kv::kRadixFromPrefix);
  return kvOk;
}
