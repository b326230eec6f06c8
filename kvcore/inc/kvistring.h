// kvistring.h - KvIString and KvCaseIString: plain 8-bit texts with an order of their own.
//
// The text is bytes in the layout of Windows-1252, without code set and language; the order comes
// from a fixed table. KvIString ignores accents and keeps case apart (a before A before b),
// KvCaseIString ignores both.
//
//   KvCaseIString("Stra\xDF" "e") == KvCaseIString("STRASSE");   // true, the sharp s is two s
//   KvIString("\xE9t\xE9") < KvIString("Ete");                   // true, e before E
//
// Flags of a value; every constructor sets none, assignment copies them:
//
//   0x80  this side compares by its raw bytes
//   0x20  (KvCaseIString, on the left-hand side) accents count: e before e diaeresis, acute, grave,
//         circumflex, tilde; ligatures sort as one character before their letters
//
// Positions and counts are bytes, 16 bits wide. There is no limit of length, but Len() counts
// modulo 65,536 and only 65,531 bytes are stored. An empty value has no buffer and orders before
// every other. When memory is short, KvCallMemoryHandler is called and the value stays as it was.
#pragma once

#include "kvbase.h"

// What tells the two classes apart: their tables, which the library keeps.
struct KV_EXPORT KvIStringWeights;
struct KV_EXPORT KvCaseIStringWeights;

template <class Weights>
class KvWeightedString {
 public:
  static constexpr unsigned char kRawBytes = 0x80;
  static constexpr unsigned char kAccents = 0x20;

  KvWeightedString() = default;
  KvWeightedString(const KvWeightedString& source);  // the text; flags 0
  KvWeightedString(KvWeightedString&& source) noexcept;
  ~KvWeightedString();

  // One character; 0 gives the empty value.
  KvWeightedString(char c);
  // Decimal text. A double has six decimals, unlike KvString's, as stored texts have it.
  KvWeightedString(short number);
  KvWeightedString(int number);
  KvWeightedString(unsigned int number);
  KvWeightedString(long number);
  KvWeightedString(unsigned long number);
  KvWeightedString(long long number);
  KvWeightedString(unsigned long long number);
  KvWeightedString(double number);
  // A text up to its terminator; null is empty.
  KvWeightedString(const char* text);
  // A block of `count` bytes: the text, then zeros where it is shorter.
  KvWeightedString(const char* text, unsigned short count);

  KvWeightedString& operator=(const KvWeightedString& source);  // text and flags
  KvWeightedString& operator=(KvWeightedString&& source) noexcept;
  KvWeightedString& operator=(const char* text);  // flags 0
  void operator+=(const KvWeightedString& text);

  friend KvWeightedString operator+(const KvWeightedString& a, const KvWeightedString& b) {
    KvWeightedString sum(a);
    sum += b;
    return sum;
  }
  // A pointer and a number that the value converts to would add up just as well.
  friend KvWeightedString operator+(const KvWeightedString& a, const char* b) {
    return a + KvWeightedString(b);
  }
  friend KvWeightedString operator+(const char* a, const KvWeightedString& b) {
    return KvWeightedString(a) + b;
  }

  // --- Asking ---

  unsigned short Len() const;
  bool IsEmpty() const { return buffer_ == nullptr || *buffer_ == 0; }
  bool operator!() const { return IsEmpty(); }
  // The text with its terminator, never null.
  const char* StrGet() const { return buffer_ != nullptr ? buffer_ : ""; }
  unsigned char GetFlags() const { return flags_; }
  void SetFlags(unsigned char flags) { flags_ = flags; }
  // Byte `index`, unchecked: the value must have it.
  char& operator[](int index) { return buffer_[index]; }
  const char& operator[](int index) const { return buffer_[index]; }

  // The leading decimal number; 0 when there is none, the nearest number when it is too large. A
  // double reads the words Infinity, -Infinity and NaN as well.
  operator int() const;
  operator short() const;  // the low 16 bits of the int
  operator long long() const;
  operator double() const;

  // --- Comparing ---

  // Negative, 0 or positive: the difference of the first two weights that differ, or of the first
  // bytes when one of them is 0. `maximumLength` is in weights, 0 for the whole texts.
  int Compare(const KvWeightedString& other, unsigned short maximumLength = 0) const;

  // Equal values have equal hashes, whatever their flags. The row hashes all values to 0.
  unsigned Hash() const;

  friend bool operator==(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) == 0;
  }
  friend bool operator!=(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) != 0;
  }
  friend bool operator<(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) < 0;
  }
  friend bool operator<=(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) <= 0;
  }
  friend bool operator>(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) > 0;
  }
  friend bool operator>=(const KvWeightedString& a, const KvWeightedString& b) {
    return a.Compare(b) >= 0;
  }

  // The first position at which `text` occurs, byte for byte; -1 when it does not.
  int SubStringPos(const KvWeightedString& text) const;

  // --- Parts and edits. Positions beyond the text do nothing. ---

  // `count` bytes from `position` on, as far as there are; flags 0.
  KvWeightedString Copy(unsigned short position, unsigned short count) const;
  void Cut(unsigned short position, unsigned short count);
  void Insert(const KvWeightedString& text, unsigned short position);
  // Overwrites from `position` on; never lengthens the value.
  void Replace(const KvWeightedString& text, unsigned short position);
  // Pads the end with `c` up to `length`.
  void Expand(unsigned short length, char c);
  // The whole text becomes `count` times `c`.
  void Fill(unsigned short count, char c);

  // Letters by their Windows-1252 case, with one exception, on which stored data
  // depends: 0xFF and 0x9F map the wrong way round, ToLower making 0x9F of 0xFF, ToUpper the
  // reverse.
  void ToLower();
  void ToUpper();
  void SpaceToZero();  // every blank becomes the digit 0
  void ZeroToSpace();  // every digit 0 becomes a blank

 private:
  void Take(char* buffer);

  char* buffer_ = nullptr;  // from malloc, length + 1 bytes; null when empty
  unsigned char flags_ = 0;
};

extern template class KV_EXPORT KvWeightedString<KvIStringWeights>;
extern template class KV_EXPORT KvWeightedString<KvCaseIStringWeights>;

using KvIString = KvWeightedString<KvIStringWeights>;
using KvCaseIString = KvWeightedString<KvCaseIStringWeights>;

static_assert(sizeof(KvIString) == 2 * sizeof(void*));
