// Hashes of every row: values that compare equal hash equal, and a run's hash does not depend on
// the form that it is in. Nor does its order.
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "support/values_of.h"

namespace {

using support::Types;
using support::Values;

// The codes from 9 on are stored forms in memory order, whatever the bit of the memory form says.
constexpr unsigned char kStored[] = {0, 1, 2, 9, 10, 15, 0xFA};

unsigned HashOf(char id, void* value, unsigned count, unsigned char format) {
  int status = 9;
  const unsigned hash = Types().Hash(id, 0, value, count, format, status);
  CHECK(status == kvOk);
  return hash;
}

// The pairs that compare equal and hash apart, all by design. Everything else must agree.
//
//   zeros          -0.0 equals +0.0; floating hashes go by the bits. (So would NaNs of different
//                  bits, which the values here leave out.)
//   booleans       what is not 0 and not null is true, whatever its byte; the byte is hashed
//   plain bytes    code set 0 compares as the native code set and hashes by its bytes
//   wildcards      dates and times with a component of -1 equal many values. Left out as well
//   null strings   equal the empty text on the left side of a comparison alone; what counts here
//                  is equality both ways
bool MayHashApart(char id, const void* a, const void* b) {
  const char base = support::BaseOf(id);
  if (base == KvFLOAT_T || base == D_INTERVAL_T) {
    return *static_cast<const float*>(a) == 0 && *static_cast<const float*>(b) == 0;
  }
  if (base == KvDOUBLE_T) {
    return *static_cast<const double*>(a) == 0 && *static_cast<const double*>(b) == 0;
  }
  if (id == KvBOOLEAN_T) return true;
  if (id == KvSTRING_T) {
    const auto& text = *static_cast<const KvString*>(a);
    const auto& other = *static_cast<const KvString*>(b);
    return (text.GetCodeSet() == 0 || other.GetCodeSet() == 0) &&
           (text.GetCodeSet() != other.GetCodeSet() ||
            std::strcmp(text.StrGet(), other.StrGet()) != 0);
  }
  return false;
}

bool SameStoredBytes(const Values& values, unsigned i, unsigned j) {
  return values.Stored(0, i) == values.Stored(0, j);
}

}  // namespace

TEST_CASE("values that compare equal hash equal, in memory and stored in both orders") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    const Values values(id, support::OrdinaryValues(id));
    unsigned equalPairs = 0;
    for (unsigned i = 0; i < values.Count(); ++i) {
      CAPTURE(i);
      const unsigned hash = HashOf(id, values[i], 1, 8);
      for (const unsigned char format : kStored) {
        CHECK(HashOf(id, values.Stored(format, i).data(), 1, format) == hash);
      }
      for (unsigned j = 0; j < i; ++j) {
        if (Types().Cmp(id, values[i], values[j], 0, 1, 8) != 0 ||
            Types().Cmp(id, values[j], values[i], 0, 1, 8) != 0) {
          continue;
        }
        CAPTURE(j);
        if (!SameStoredBytes(values, i, j) && MayHashApart(id, values[i], values[j])) continue;
        ++equalPairs;
        CHECK(HashOf(id, values[j], 1, 8) == hash);
      }
    }
    CHECK(equalPairs > 0);
  }
}

TEST_CASE("the hash of a run does not depend on its form") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    for (const auto& stored : {support::OrdinaryValues(id, 77), support::WildValues(id, 77)}) {
      const Values values(id, stored);
      if (values.Count() == 0) continue;
      for (const unsigned count : {1U, 2U, 3U, 8U, 77U}) {
        CAPTURE(count);
        const unsigned hash = HashOf(id, values[0], count, 8);
        for (const unsigned char format : kStored) {
          CHECK(HashOf(id, values.Stored(format, 0, count).data(), count, format) == hash);
        }
      }
    }
  }
}

TEST_CASE("stored values are ordered, measured and loaded as such under every code but 8") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    const Values values(id, support::OrdinaryValues(id, 40));
    for (unsigned i = 0; i + 1 < values.Count(); ++i) {
      CAPTURE(i);
      const support::Bytes plain[] = {values.Stored(0, i), values.Stored(0, i + 1)};
      for (const unsigned char format : {o_u1b{9}, o_u1b{10}, o_u1b{15}, o_u1b{0x1C}}) {
        // In blocks of their own, so that nothing is read behind them.
        support::Bytes left = values.Stored(format, i), right = values.Stored(format, i + 1);
        left.shrink_to_fit();
        right.shrink_to_fit();
        const auto size = static_cast<unsigned>(left.size());
        int status = 9;
        CHECK(Types().Cmp(id, size, left.data(), static_cast<unsigned>(right.size()), right.data(),
                          0x10, 1, format, status) ==
              Types().Cmp(id, const_cast<unsigned char*>(plain[0].data()),
                          const_cast<unsigned char*>(plain[1].data()), 0x10, 1, 0));
        CHECK(status == kvOk);
        CHECK(Types().DiskLenGet(id, left.data(), format, 1, 0) == size);
        CHECK(Types().Load(id, values[i + 1], left.data(), format, 1) == size);
        CHECK(values.Stored(0, i + 1) == plain[0]);
        Types().Load(id, values[i + 1], plain[1].data(), 0, 1);
      }
      support::Bytes stored = values.Stored(8, i);
      CHECK(Types().Load(id, values[i + 1], stored.data(), 8, 1) == stored.size());
      CHECK(values.Stored(0, i + 1) == plain[0]);
      Types().Load(id, values[i + 1], plain[1].data(), 0, 1);
    }
  }
}

// The fast walks take several units at a time; this is the one that defines them.
template <class Unit>
unsigned PlainFold(const std::vector<Unit>& units, unsigned mask) {
  unsigned hash = 0;
  for (const Unit unit : units) hash = hash * 9 + (static_cast<unsigned>(unit) & mask);
  return hash;
}

TEST_CASE("text and blob hashes of every length, against the plain walk") {
  support::Source source(3);
  for (unsigned length = 0; length < 70; ++length) {
    CAPTURE(length);
    std::vector<signed char> bytes;
    std::vector<unsigned short> wide;
    for (unsigned i = 0; i < length; ++i) {
      bytes.push_back(static_cast<signed char>(source.Below(255) + 1));
      wide.push_back(static_cast<unsigned short>(source.Below(65535) + 1));
    }
    const auto count = static_cast<unsigned short>(length);
    const auto* at = reinterpret_cast<const char*>(bytes.data());
    const KvString narrow(at, count);
    CHECK(HashKvString(narrow) == PlainFold(bytes, ~0u));
    CHECK(HashKvString7(narrow) == PlainFold(bytes, 0x7F));
    const KvString text(wide.data(), count);
    CHECK(HashKvString(text) == PlainFold(wide, ~0u));
    CHECK(HashKvString7(text) == PlainFold(wide, 0x7F));
    CHECK(HashString(0, 1, narrow.StrGet(), -1, 1) == PlainFold(bytes, 0xFF));
    const Values blob(KvBLOB_T, {support::BlobBytes({at, length})});
    CHECK(HashOf(KvBLOB_T, blob[0], 1, 8) == PlainFold(bytes, 0xFF) * 1103515245u);
  }
}
