// Hashes of every row: values that compare equal hash equal, and a run's hash does not depend on
// the form that it is in. Nor does its order.
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "support/values_of.h"

namespace {

using support::Sign;
using support::Types;
using support::Values;

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

}  // namespace

TEST_CASE("values that compare equal hash equal") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    const Values values(id, support::OrdinaryValues(id));
    unsigned equalPairs = 0;
    for (unsigned i = 0; i < values.Count(); ++i) {
      CAPTURE(i);
      const unsigned hash = HashOf(id, values[i], 1, 8);
      for (unsigned j = 0; j < i; ++j) {
        if (Types().Cmp(id, values[i], values[j], 0, 1, 8) != 0 ||
            Types().Cmp(id, values[j], values[i], 0, 1, 8) != 0) {
          continue;
        }
        CAPTURE(j);
        if (values.Stored(0, i) != values.Stored(0, j) && MayHashApart(id, values[i], values[j]))
          continue;
        ++equalPairs;
        CHECK(HashOf(id, values[j], 1, 8) == hash);
      }
    }
    CHECK(equalPairs > 0);
  }
}

// Of a format byte the low four bits count, and of those 2, 8, and for nullables the highest.
TEST_CASE("values are stored, loaded, ordered and hashed alike by all formats that mean the same") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(int{id});
    const Values values(id, support::OrdinaryValues(id, 8)), loaded(id, {support::Bytes()});
    for (unsigned byte = 0; byte < 256; ++byte) {
      CAPTURE(byte);
      const auto format = static_cast<unsigned char>(byte);
      const unsigned low = byte % 16;
      const bool isBehind = low >= 8 && support::BaseOf(id) != id;
      const unsigned char same = low == 2 ? 2 : isBehind ? 8 : 0;
      for (unsigned i = 0; i + 1 < values.Count(); ++i) {
        // In blocks of their own, so that nothing is read behind them.
        support::Bytes run[] = {values.Stored(same, i), values.Stored(same, i + 1)};
        for (support::Bytes& each : run) each.shrink_to_fit();
        const auto size = static_cast<unsigned>(run[0].size());
        REQUIRE(values.Stored(format, i) == run[0]);
        REQUIRE(Types().Load(id, loaded[0], run[0].data(), format, 1) == size);
        REQUIRE(values.Stored(0, i) == loaded.Stored(0, 0));
        if (low < 8) {  // the memory bit, for translations
          support::Bytes moved(size);
          REQUIRE(Types().Translate(id, moved.data(), format, 0, values[i], 8, 0, 1) == size);
          REQUIRE(moved == run[0]);
          Types().Translate(id, loaded[0], 8, 0, moved.data(), format, 0, 1);
          REQUIRE(values.Stored(0, i) == loaded.Stored(0, 0));
        }
        const void* at[] = {run[0].data(), run[1].data()};
        if (low == 8) {
          for (unsigned k = 0; k < 2; ++k) at[k] = values[i + k];
        } else {
          REQUIRE(Types().DiskLenGet(id, at[0], format, 1, 0) == size);
          // What lies behind a value has no part in its order.
          support::Bytes ahead[] = {support::Joined({run[0], run[1]}), run[0]};
          REQUIRE(Types().Cmp(id, ahead[0].data(), ahead[1].data(), kvCompareExact, 1, format) ==
                  0);
        }
        int status = 9;
        const unsigned lengths[] = {low == 8 ? 0 : size,
                                    low == 8 ? 0 : static_cast<unsigned>(run[1].size())};
        REQUIRE(support::Sign(Types().Cmp(id, lengths[0], at[0], lengths[1], at[1], kvCompareExact,
                                          1, format, status)) ==
                support::Sign(Types().Cmp(id, values[i], values[i + 1], kvCompareExact, 1, 8)));
        REQUIRE(status == kvOk);
        REQUIRE(Types().Hash(id, lengths[0], at[0], 1, format, status) ==
                HashOf(id, values[i], 1, 8));
      }
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
