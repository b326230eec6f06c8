// KvIString and KvCaseIString: the byte operations of both. Every edit builds a new block of
// exactly the size it needs.
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "kvstring/istring_weights.h"
#include "kvtext/float_text.h"
#include "kvtext/number_text.h"
#include "zbs.h"

namespace kv {
namespace {

// A block for `length` bytes and a terminator, the last already there. Rounded up to whole words,
// as the allocator would do anyway, so that comparing may read words. Null when memory is short.
char* AllocateBytes(std::size_t length) {
  const std::size_t size = length / 8 * 8 + 8;
  auto* block = static_cast<char*>(std::malloc(size));
  if (block == nullptr) {
    KvCallMemoryHandler(static_cast<unsigned>(size));
    return nullptr;
  }
  std::memset(block + size - 8, 0, 8);
  return block;
}

// A stretch of bytes that an edit puts into a new block.
struct Piece {
  const char* bytes;
  std::size_t length;
};

// The pieces one after the other. Sets `block` to null when they are empty; false when memory is
// short.
bool Join(char*& block, Piece first, Piece second = {"", 0}, Piece third = {"", 0}) {
  const std::size_t length = first.length + second.length + third.length;
  block = nullptr;
  if (length == 0) return true;
  block = AllocateBytes(length);
  if (block == nullptr) return false;
  char* at = block;
  for (const Piece& piece : {first, second, third}) {
    if (piece.length != 0) std::memcpy(at, piece.bytes, piece.length);
    at += piece.length;
  }
  return true;
}

template <class Number>
char* DecimalText(Number number) {
  char text[24];
  char* block;
  const char* end = std::to_chars(text, text + sizeof text, number).ptr;
  Join(block, {text, static_cast<std::size_t>(end - text)});
  return block;
}

IntegerText ReadDecimal(const char* text) {
  const char* number = SkipBlanks(text);
  return ReadInteger(number, number + std::strlen(number), 10);
}

constexpr unsigned char kCaseDistance = 0x20;
constexpr unsigned char kMultiplicationSign = 0xD7;
constexpr unsigned char kDivisionSign = 0xF7;

constexpr unsigned char LowerByte(unsigned char c) {
  const bool letter =
      (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != kMultiplicationSign);
  if (letter) return static_cast<unsigned char>(c + kCaseDistance);
  if (c == 0x8C) return 0x9C;
  return c == 0xFF ? 0x9F : c;  // the wrong way round, as in stored data
}

constexpr unsigned char UpperByte(unsigned char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != kDivisionSign);
  if (letter) return static_cast<unsigned char>(c - kCaseDistance);
  if (c == 0x9C) return 0x8C;
  return c == 0x9F ? 0xFF : c;  // the wrong way round, as in stored data
}

template <class Map>
void MapBytes(char* text, Map map) {
  if (text == nullptr) return;
  for (; *text != 0; ++text) *text = static_cast<char>(map(static_cast<unsigned char>(*text)));
}

PaddedText TextOf(const char* buffer, unsigned char flags) {
  return {reinterpret_cast<const unsigned char*>(buffer), flags};
}

}  // namespace
}  // namespace kv

// --- Making and assigning ---

template <class Weights>
void KvWeightedString<Weights>::Take(char* buffer) {
  std::free(buffer_);
  buffer_ = buffer;
}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(const KvWeightedString& source)
    : KvWeightedString(source.buffer_) {}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(KvWeightedString&& source) noexcept
    : buffer_(std::exchange(source.buffer_, nullptr)) {}

template <class Weights>
KvWeightedString<Weights>::~KvWeightedString() {
  std::free(buffer_);
}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(char c) {
  kv::Join(buffer_, {&c, c != 0 ? 1u : 0u});
}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(short number) : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(int number) : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(unsigned int number)
    : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(long number) : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(unsigned long number)
    : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(long long number) : buffer_(kv::DecimalText(number)) {}
template <class Weights>
KvWeightedString<Weights>::KvWeightedString(unsigned long long number)
    : buffer_(kv::DecimalText(number)) {}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(double number) {
  char text[400];  // the largest double has 309 digits before the point
  const char* end =
      std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, 6).ptr;
  kv::Join(buffer_, {text, static_cast<std::size_t>(end - text)});
}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(const char* text) {
  kv::Join(buffer_, {text, text == nullptr ? 0 : std::strlen(text)});
}

template <class Weights>
KvWeightedString<Weights>::KvWeightedString(const char* text, unsigned short count) {
  if (text == nullptr || count == 0) return;
  buffer_ = kv::AllocateBytes(count);
  if (buffer_ != nullptr) std::strncpy(buffer_, text, count);
}

template <class Weights>
KvWeightedString<Weights>& KvWeightedString<Weights>::operator=(const KvWeightedString& source) {
  if (this == &source) return *this;
  char* buffer;
  if (!kv::Join(buffer, {source.buffer_, std::strlen(source.StrGet())})) return *this;
  Take(buffer);
  flags_ = source.flags_;
  return *this;
}

template <class Weights>
KvWeightedString<Weights>& KvWeightedString<Weights>::operator=(
    KvWeightedString&& source) noexcept {
  std::swap(buffer_, source.buffer_);
  flags_ = source.flags_;
  return *this;
}

template <class Weights>
KvWeightedString<Weights>& KvWeightedString<Weights>::operator=(const char* text) {
  char* buffer;
  if (!kv::Join(buffer, {text, text == nullptr ? 0 : std::strlen(text)})) return *this;
  Take(buffer);
  flags_ = 0;
  return *this;
}

template <class Weights>
void KvWeightedString<Weights>::operator+=(const KvWeightedString& text) {
  char* buffer;
  if (text.IsEmpty()) return;
  if (kv::Join(buffer, {StrGet(), std::strlen(StrGet())},
               {text.StrGet(), std::strlen(text.StrGet())})) {
    Take(buffer);
  }
}

// --- Asking ---

template <class Weights>
unsigned short KvWeightedString<Weights>::Len() const {
  return static_cast<unsigned short>(std::strlen(StrGet()));
}

template <class Weights>
KvWeightedString<Weights>::operator int() const {
  return static_cast<int>(kv::SaturateSigned(kv::ReadDecimal(StrGet()), 32));
}
template <class Weights>
KvWeightedString<Weights>::operator short() const {
  return static_cast<short>(static_cast<int>(*this));
}
template <class Weights>
KvWeightedString<Weights>::operator long long() const {
  return kv::SaturateSigned(kv::ReadDecimal(StrGet()), 64);
}
template <class Weights>
KvWeightedString<Weights>::operator double() const {
  const char* text = StrGet();
  return kv::ScanDefaultFloat(text, text);
}

template <class Weights>
int KvWeightedString<Weights>::Compare(const KvWeightedString& other,
                                       unsigned short maximumLength) const {
  return kv::CompareWeighted<Weights>(
      kv::TextOf(buffer_, flags_), kv::TextOf(other.buffer_, other.flags_),
      maximumLength != 0 ? maximumLength : kv::kLongestWeightedText);
}

template <class Weights>
unsigned KvWeightedString<Weights>::Hash() const {
  if (IsEmpty()) return 0;
  // Without accents: a text may be equal to one whose flags ask for them.
  kv::WeightWalk<Weights> walk(kv::TextOf(buffer_, flags_).Measured());
  unsigned hash = 0;
  while (const unsigned weight = walk.Next()) hash = 9 * hash + weight;
  return hash;
}

template <class Weights>
int KvWeightedString<Weights>::SubStringPos(const KvWeightedString& text) const {
  const char* found = std::strstr(StrGet(), text.StrGet());
  return found == nullptr ? -1 : static_cast<int>(found - StrGet());
}

// --- Parts and edits ---

template <class Weights>
KvWeightedString<Weights> KvWeightedString<Weights>::Copy(unsigned short position,
                                                          unsigned short count) const {
  KvWeightedString part;
  const std::size_t length = std::strlen(StrGet());
  if (position < length) {
    kv::Join(part.buffer_, {buffer_ + position, std::min<std::size_t>(count, length - position)});
  }
  return part;
}

template <class Weights>
void KvWeightedString<Weights>::Cut(unsigned short position, unsigned short count) {
  const std::size_t length = std::strlen(StrGet());
  if (position >= length) return;
  const std::size_t tail = std::min<std::size_t>(position + std::size_t{count}, length);
  char* buffer;
  if (kv::Join(buffer, {buffer_, position}, {buffer_ + tail, length - tail})) Take(buffer);
}

template <class Weights>
void KvWeightedString<Weights>::Insert(const KvWeightedString& text, unsigned short position) {
  const std::size_t length = std::strlen(StrGet());
  if (position > length || text.IsEmpty()) return;
  char* buffer;
  if (kv::Join(buffer, {StrGet(), position}, {text.StrGet(), std::strlen(text.StrGet())},
               {StrGet() + position, length - position})) {
    Take(buffer);
  }
}

template <class Weights>
void KvWeightedString<Weights>::Replace(const KvWeightedString& text, unsigned short position) {
  const std::size_t length = std::strlen(StrGet());
  if (position >= length) return;
  // The value may overwrite itself.
  const std::size_t count = std::min(std::strlen(text.StrGet()), length - position);
  std::memmove(buffer_ + position, text.StrGet(), count);
}

template <class Weights>
void KvWeightedString<Weights>::Expand(unsigned short length, char c) {
  const std::size_t oldLength = std::strlen(StrGet());
  if (length <= oldLength || c == 0) return;
  char* buffer = kv::AllocateBytes(length);
  if (buffer == nullptr) return;
  std::memcpy(buffer, StrGet(), oldLength);
  std::memset(buffer + oldLength, c, length - oldLength);
  Take(buffer);
}

template <class Weights>
void KvWeightedString<Weights>::Fill(unsigned short count, char c) {
  if (count == 0 || c == 0) return Take(nullptr);
  char* buffer = kv::AllocateBytes(count);
  if (buffer == nullptr) return;
  std::memset(buffer, c, count);
  Take(buffer);
}

template <class Weights>
void KvWeightedString<Weights>::ToLower() {
  kv::MapBytes(buffer_, kv::LowerByte);
}

template <class Weights>
void KvWeightedString<Weights>::ToUpper() {
  kv::MapBytes(buffer_, kv::UpperByte);
}

template <class Weights>
void KvWeightedString<Weights>::SpaceToZero() {
  if (buffer_ != nullptr) std::replace(buffer_, buffer_ + std::strlen(buffer_), ' ', '0');
}

template <class Weights>
void KvWeightedString<Weights>::ZeroToSpace() {
  if (buffer_ != nullptr) std::replace(buffer_, buffer_ + std::strlen(buffer_), '0', ' ');
}

template class KvWeightedString<KvIStringWeights>;
template class KvWeightedString<KvCaseIStringWeights>;
