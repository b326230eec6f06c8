// Values of any catalogue row, by type id: edges and repeatable random ones. They are made as
// stored bytes in memory order, which are the same in every ABI, and loaded through the type
// manager, so nothing here knows what a value looks like in memory.
//
//   const support::Values values(KvDATE_T, support::OrdinaryValues(KvDATE_T));
//   types.Cmp(KvDATE_T, values[0], values[1], 0, 1, 8);
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "kv.h"
#include "support/host.h"
#include "support/types.h"

namespace support {

// The stored bytes of one value in memory order; no bytes stand for the row's null.
using Bytes = std::vector<unsigned char>;

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// One behind the other, made in this order: + leaves it to the compiler which of two it makes
// first, and random values would be others on other hosts.
inline Bytes Joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

inline Bytes Little(o_u8b number, unsigned width) {
  Bytes bytes;
  for (unsigned i = 0; i < width; ++i) bytes.push_back(static_cast<unsigned char>(number >> 8 * i));
  return bytes;
}

template <class T>
Bytes BitsOf(T value) {
  return StoredBytes(&value, 1, false);
}

// `units` without terminator, least significant byte first where the code set is wide.
inline Bytes StringBytes(unsigned char codeSet, unsigned char language, const std::string& units) {
  return Little(units.size() + 4, 2) + Bytes{codeSet, language} +
         Bytes(units.begin(), units.end()) + Bytes{0, 0xFF};
}

inline Bytes BlobBytes(const std::string& data) {
  return Little(data.size() + 4, 4) + Little(data.size(), 4) + Bytes(data.begin(), data.end());
}

// ---------------------------------------------------------------------------------------------
// Sources of values. Each field is an edge as often as not, so that equal values, values that share
// all but one field, and values of opposite ends meet.

class Source {
 public:
  explicit Source(unsigned seed) : engine_(seed) {}

  unsigned Below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
  o_u8b Random() {
    const o_u8b high = engine_();
    return high << 32 | engine_();
  }
  template <class T>
  T Pick(std::initializer_list<T> from) {
    return from.begin()[Below(static_cast<unsigned>(from.size()))];
  }

  Bytes Integer(unsigned width) {
    const o_u8b high = o_u8b{1} << (8 * width - 1);
    return Little(Pick({o_u8b{0}, o_u8b{1}, o_u8b{2}, ~o_u8b{0}, high, high - 1, Random(),
                        o_u8b{Below(300)}}),
                  width);
  }

  // Without NaN; zeros of both signs.
  template <class T>
  Bytes Floating() {
    using Limits = std::numeric_limits<T>;
    const T number = static_cast<T>(Below(2000)) / 8 - 100;
    return BitsOf(Pick({T(0), -T(0), T(1), number, number, Limits::min(), Limits::denorm_min(),
                        Limits::max(), -Limits::max(), Limits::infinity(), -Limits::infinity()}));
  }

  // Dates that the calendar has, and clock times that the clock has: no null, no wildcard.
  Bytes Date() {
    const int year = Pick({-32768, -1000, 1, 1582, 1900, 1999, 2000, 2024, 32767,
                           static_cast<int>(1950 + Below(100))});
    return Little(static_cast<o_u8b>(year), 2) + Bytes{OneTo(12), OneTo(28)};
  }
  Bytes Clock() { return {Up(23), Up(59), Up(59)}; }
  // Hour and minute lie shifted by the zone that stands before them.
  Bytes ZonedClock() {
    const Bytes zone{Pick<unsigned char>({0, 1, 0xFE}), Pick<unsigned char>({0, 30, 0xE2})};
    Bytes clock = Clock();
    for (unsigned i = 0; i < 2; ++i) clock[i] = static_cast<unsigned char>(clock[i] + zone[i]);
    return zone + clock + Bytes{Up(99)};
  }
  Bytes Nanoseconds() { return Little(Pick({0U, 1U, 999999999U, Below(1000000000)}), 4); }

  std::string Latin() {
    static constexpr char kCharacters[] = "aAbBeEszZ12 -\xE4\xC4\xE9\xDF\xE6\xB2";
    std::string text;
    for (unsigned left = Below(5); left > 0; --left) {
      text += kCharacters[Below(sizeof kCharacters - 1)];
    }
    return text;
  }

  Bytes String() {
    const auto language = Pick<unsigned char>({1, 1, 2, 10, 20});
    const auto codeSet = Pick<unsigned char>({0, 1, 1, 2, 4, 253, 253});
    const std::string text = Latin();
    if (codeSet != kvCodeSetUnicode) return StringBytes(codeSet, language, text);
    std::string units;
    for (const char unit : text) units += {unit, '\0'};
    if (Below(4) == 0) units += Pick<std::string>({"\xB1\x03", "\x10\x04", "\x53\x01", "\x00\x4E"});
    return StringBytes(codeSet, language, units);
  }

  Bytes Noise(std::size_t size) {
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<unsigned char>(engine_());
    return bytes;
  }

 private:
  unsigned char Up(unsigned last) {
    return static_cast<unsigned char>(Pick({0U, last, Below(last + 1)}));
  }
  unsigned char OneTo(unsigned last) {
    return static_cast<unsigned char>(Pick({1U, last, 1 + Below(last)}));
  }

  std::mt19937 engine_;
};

// Of a type that takes any bytes of its width.
inline Bytes AnyBytes(char id, Source& source) {
  if (Types().IsFixed(id) == 0) {
    throw std::runtime_error(std::string("no values for ") + Types().NameGet(id, nullptr));
  }
  Bytes bytes(Types().DiskLenGet(id, nullptr, 0, 1, 0));
  for (auto& byte : bytes) byte = source.Integer(1)[0];
  return bytes;
}

inline Bytes NextValue(char id, Source& source) {
  switch (id) {
    case Kv1B_T:
    case KvU1B_T:
      return source.Integer(1);
    case Kv2B_T:
    case KvU2B_T:
      return source.Integer(2);
    case Kv8B_T:
    case KvU8B_T:
    case KvINT64_T:
      return source.Integer(8);
    case KvFLOAT_T:
    case D_INTERVAL_T:
      return source.Floating<float>();
    case KvDOUBLE_T:
      return source.Floating<double>();
    case KvBOOLEAN_T:
      return {source.Pick<unsigned char>({0, 1, 1, 5, 128, 255})};
    case KvSTRING_T:
      return source.String();
    case KvISTRING_T:
    case KvCASEISTRING_T:
      return StringBytes(1, 1, source.Latin());
    case KvBLOB_T:
      return BlobBytes(source.Latin());
    case KvDATE_T:
    case D_DATE_T:
      return source.Date();
    case KvTIME_T:
      return source.Clock();
    case KvDATIME_T:
      return Joined({source.Date(), source.Clock()});
    case KvDATIME_N_T:
    case KvTIMESPAN_T:
      return Joined({source.Date(), source.Clock(), source.Nanoseconds()});
    case D_TIME_T:
      return source.ZonedClock();
    case D_TIMESTAMP_T:
      return Joined({source.Date(), source.ZonedClock()});
    case KvOBJID_T:
      return Joined({source.Integer(4), source.Integer(4), source.Integer(2)});
    case KvREF_T:
      return Joined({source.Integer(4), source.Integer(4), source.Integer(2), source.Integer(2),
                     source.Integer(2)});
    case KvCLID_T:
      return Joined({source.Integer(2), source.Integer(2)});
    case KvSEAL_T:
      return Joined({source.Integer(2), source.Integer(2), source.Integer(2)});
    case Kv4B_T:
    case KvU4B_T:
    case KvINT_T:
    case KvUNSIGNED_T:
    case KvENUM_T:
    case KvBLOCKID_T:
      return source.Integer(4);
    default:
      return AnyBytes(id, source);
  }
}

// The row of which a nullable row is the null-capable sister, else `id`.
inline char BaseOf(char id) {
  static constexpr char kBases[] = {Kv1B_T, KvU1B_T, Kv2B_T,    KvU2B_T,    KvINT_T,  KvUNSIGNED_T,
                                    Kv4B_T, KvU4B_T, KvFLOAT_T, KvDOUBLE_T, KvINT64_T};
  if (id >= KvNULL_1B_T && id <= KvNULL_KVINT64_T) return kBases[id - KvNULL_1B_T];
  return id == KvNULL_8B_T ? Kv8B_T : id == KvNULL_U8B_T ? KvU8B_T : id;
}

// Values that a program could have written: no NaN, no component that the calendar, the clock or
// the type does not have. The null comes first where the row has one; some values come again.
inline std::vector<Bytes> OrdinaryValues(char id, unsigned count = 120, unsigned seed = 1) {
  Source source(seed + static_cast<unsigned>(id));
  std::vector<Bytes> values;
  if (Types().SupportsNullValue(id) != 0) values.push_back({});
  const char base = BaseOf(id);
  while (values.size() < count) {
    if (!values.empty() && source.Below(8) == 0) {
      values.push_back(Bytes(values[source.Below(static_cast<unsigned>(values.size()))]));
      continue;
    }
    const Bytes value = NextValue(base, source);
    values.push_back(base == id ? value : Bytes{0} + value);
  }
  return values;
}

// Any bytes at all, for the rows of fixed size: wild components, NaNs, indicators of every kind.
inline std::vector<Bytes> WildValues(char id, unsigned count = 120, unsigned seed = 1) {
  std::vector<Bytes> values;
  if (Types().IsFixed(id) == 0) return values;
  const std::size_t size = Types().DiskLenGet(id, nullptr, 0, 1, 0);
  for (const int byte : {0x00, 0xFF, 0x7F, 0x80, 0x01}) {
    values.emplace_back(size, static_cast<unsigned char>(byte));
  }
  Source source(seed + static_cast<unsigned>(id));
  while (values.size() < count) values.push_back(source.Noise(size));
  return values;
}

// ---------------------------------------------------------------------------------------------

// A run in memory form, made and freed by the type manager. Empty when the row makes none.
class Values {
 public:
  Values(char id, std::vector<Bytes> stored)
      : id_(id), values_(Types().Create(id, static_cast<unsigned>(stored.size()))) {
    if (values_ == nullptr) return;
    for (Bytes& value : stored) {
      void* element = (*this)[count_++];
      if (value.empty()) {
        Types().SetNullValue(id, element);
      } else {
        Types().Load(id, element, value.data(), 0, 1);
      }
    }
  }
  ~Values() { Types().Delete(id_, values_, count_); }
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;

  char Id() const { return id_; }
  unsigned Count() const { return count_; }
  void* operator[](unsigned index) const { return Types().GetArrayElement(id_, values_, index, 0); }

  // The stored bytes of `count` values from `index` on. They are stored into memory that nobody has
  // written, so that valgrind sees a byte that was left out.
  Bytes Stored(unsigned char format, unsigned index, unsigned count = 1) const {
    const std::unique_ptr<unsigned char[]> bytes(new unsigned char[256 + count * 64]);
    return {bytes.get(),
            bytes.get() + Types().Store(id_, bytes.get(), (*this)[index], format, count)};
  }

 private:
  char id_;
  void* values_;
  unsigned count_ = 0;
};

}  // namespace support
