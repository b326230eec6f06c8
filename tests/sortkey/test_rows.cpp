// Keys of the rows against the rows' own comparers, which know nothing of keys.
#include <doctest/doctest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sortkey/sort_keys.h"
#include "support/vector_sets.h"

namespace {

using namespace sortkey;
using support::kRowCount;
using support::Values;

// KV_SORTKEY_VALUES takes more of them than a test run has time for.
unsigned ValuesOfARow() {
  const char* more = std::getenv("KV_SORTKEY_VALUES");
  return more != nullptr ? static_cast<unsigned>(std::atoi(more)) : 240;
}

std::vector<Bytes> ValuesFor(char id) {
  const unsigned count = ValuesOfARow();
  std::vector<Bytes> values = support::OrdinaryValues(id, count);
  for (const Bytes& wild : support::WildValues(id, count)) values.push_back(wild);
  // The infinities, and the NaNs beside them.
  const char base = support::BaseOf(id);
  const bool isFloat = base == KvFLOAT_T || base == D_INTERVAL_T;
  if (!isFloat && base != KvDOUBLE_T) return values;
  for (o_u8b bits : {0x7F800000u, 0x7F800001u, 0xFF800000u, 0xFF800001u}) {
    if (!isFloat) bits = (bits & 0x80000000) << 32 | 0x7FF0000000000000 | (bits & 1);
    values.push_back(support::Little(bits, isFloat ? 4 : 8));
    if (base != id) values.back().insert(values.back().begin(), 0);
  }
  return values;
}

struct Keyed {
  Keyed(const Values& values, const KvSortKeyKind& kind) {
    for (unsigned i = 0; i < values.Count(); ++i) keys.push_back(KeyOf(kind, values[i]));
  }
  std::vector<Bytes> keys;
};

// Texts have their own test.
bool IsText(char id) {
  return id == KvSTRING_T;
}

bool IsNullable(char id) {
  return (id >= KvNULL_1B_T && id <= KvNULL_KVINT64_T) || id == KvNULL_8B_T || id == KvNULL_U8B_T;
}

}  // namespace

TEST_CASE("keys order as their values do under every option, in memory and stored") {
  for (char id = 0; id < kRowCount; ++id) {
    if (IsText(id)) continue;
    CAPTURE(int(id));
    const Values values(id, ValuesFor(id));
    const unsigned count = values.Count();
    const Keyed plain(values, {.type = id});
    std::vector<signed char> orders;
    for (unsigned i = 0; i < count * count; ++i) {
      const int order = Types().Cmp(id, values[i / count], values[i % count], 0x10, 1, 8);
      orders.push_back(static_cast<signed char>(Sign(order)));
    }
    for (unsigned char options = 0; options < 6; ++options) {
      CAPTURE(int(options));
      const Keyed keyed(values, {.type = id, .options = options});
      unsigned wrong = 0;
      for (unsigned i = 0; i < count * count; ++i) {
        const unsigned a = i / count, b = i % count;
        const bool isNull[] = {Types().IsNullValue(id, values[a]) != 0,
                               Types().IsNullValue(id, values[b]) != 0};
        wrong += OrderUnder(options, orders[i], isNull) != Order(keyed.keys[a], keyed.keys[b]);
      }
      CHECK(wrong == 0);
      for (unsigned i = 0; i < count && options == kvSortKeyDescending; ++i) {
        CHECK(keyed.keys[i] == Complement(plain.keys[i]));
      }
    }
    for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
      std::vector<Bytes> forms;
      for (unsigned i = 0; i < count; ++i) {
        forms.push_back(values.Stored(format, i));
        CHECK(KeyOf({.type = id}, forms[i].data(), format) == plain.keys[i]);
        // Other codes with the memory bit are stored forms in memory order to comparers and keys.
        if (format == 0) CHECK(KeyOf({.type = id}, forms[i].data(), 12) == plain.keys[i]);
      }
      unsigned wrong = 0;
      for (unsigned i = 0; i < count * count; ++i) {
        wrong += orders[i] != Sign(Types().Cmp(id, forms[i / count].data(), forms[i % count].data(),
                                               0x10, 1, format));
      }
      CHECK_MESSAGE(wrong == 0, "format ", int(format));
    }
  }
}

TEST_CASE("a key gives its value back, and no other bytes do") {
  for (char id = 0; id < kRowCount; ++id) {
    if (IsText(id)) continue;
    for (unsigned options = 0; options < 6; ++options) {
      CAPTURE(int(id));
      CAPTURE(options);
      const KvSortKeyKind kind{.type = id, .options = static_cast<unsigned char>(options)};
      const Values values(id, ValuesFor(id));
      const Values back(id, {Bytes()});
      for (unsigned i = 0; i < values.Count(); ++i) {
        Bytes key = KeyOf(kind, values[i]);
        const std::size_t whole = key.size();
        key.push_back(0x5A);  // whatever follows is not part of the key
        std::size_t size = 0;
        REQUIRE(KvSortKeyValue(kind, key.data(), key.size(), back[0], size) == kvOk);
        CHECK(size == whole);
        CHECK(Types().Cmp(id, values[i], back[0], 0x10, 1, 8) == 0);
        key.pop_back();
        CHECK(KeyOf(kind, back[0]) == key);
        CHECK(KvSortKeyLength(kind, key.data(), whole, size) == kvOk);
        CHECK(size == whole);
        for (std::size_t cut = 0; cut < whole; ++cut) {
          CHECK(KvSortKeyLength(kind, key.data(), cut, size) == kvBadArgument);
          CHECK(size == 0);
        }
      }
    }
  }
}

TEST_CASE("arbitrary bytes are a key that writes itself again, or none") {
  support::Source source(17);
  for (char id = 0; id < kRowCount; ++id) {
    if (IsText(id)) continue;
    CAPTURE(int(id));
    const KvSortKeyKind kind{.type = id, .options = kvSortKeyNullsLast};
    const Values back(id, {Bytes()});
    for (unsigned i = 0; i < 2000; ++i) {
      Bytes bytes = source.Noise(source.Below(20));
      for (unsigned char& byte : bytes) {
        if (source.Below(3) != 0) byte = source.Pick<unsigned char>({0, 1, 0xFF, 0x7F, 0x80});
      }
      std::size_t size = 0;
      const int status = KvSortKeyValue(kind, bytes.data(), bytes.size(), back[0], size);
      if (status == kvOk) {
        bytes.resize(size);
        CHECK(KeyOf(kind, back[0]) == bytes);
      } else {
        CHECK(status == kvBadArgument);
        CHECK((id != KvBOOLEAN_T || bytes.empty()));  // all bytes are booleans
      }
    }
  }
}

TEST_CASE("the keys of a run are the keys of its values") {
  for (char id = 0; id < kRowCount; ++id) {
    if (IsText(id)) continue;
    for (const unsigned char options : std::initializer_list<unsigned char>{0, 1, 2}) {
      CAPTURE(int(id));
      const KvSortKeyKind kind{.type = id, .options = options};
      // Blocks of loaded values are 4096 bytes: more than one of them.
      std::vector<Bytes> stored = ValuesFor(id);
      const std::size_t period = std::min<std::size_t>(stored.size(), 97);
      while (stored.size() < 2500) stored.push_back(Bytes(stored[stored.size() % period]));
      const Values values(id, std::move(stored));
      Bytes expected;
      std::vector<std::size_t> begins;
      for (unsigned i = 0; i < values.Count(); ++i) {
        begins.push_back(expected.size());
        expected = support::operator+(std::move(expected), KeyOf(kind, values[i]));
      }
      begins.push_back(expected.size());
      for (const unsigned char format : kForms) {
        CAPTURE(int(format));
        const Bytes run = format == 8 ? Bytes() : values.Stored(format, 0, values.Count());
        const void* from = format == 8 ? values[0] : run.data();
        const auto length = static_cast<unsigned>(run.size());
        Bytes keys(expected.size() + 1, 0xEE);
        std::vector<std::size_t> offsets(begins.size());
        std::size_t size = 0;
        CHECK(KvSortKeyRun(kind, from, length, format, values.Count(), keys.data(),
                           expected.size() - 1, offsets.data(), size) == kvBufferShort);
        CHECK(size == expected.size());
        CHECK(std::count(keys.begin(), keys.end(), 0xEE) == static_cast<long>(keys.size()));
        CHECK(KvSortKeyRun(kind, from, length, format, values.Count(), keys.data(), expected.size(),
                           offsets.data(), size) == kvOk);
        CHECK(keys.back() == 0xEE);
        keys.pop_back();
        CHECK(keys == expected);
        CHECK(offsets == begins);
        support::WithEachVectorSet([&] {
          Bytes plain(expected.size() + 1, 0xEE);
          CHECK(KvSortKeyRun(kind, from, length, format, values.Count(), plain.data(),
                             expected.size(), nullptr, size) == kvOk);
          CHECK(plain.back() == 0xEE);
          plain.pop_back();
          CHECK(plain == expected);
        });
        if (format == 8) continue;
        CHECK(KvSortKeyRun(kind, from, length - 1, format, values.Count(), keys.data(),
                           expected.size(), nullptr, size) == kvBadArgument);
      }
    }
  }
}

// Nulls far from each other, close together, everywhere and nowhere: vectors have ways of their own
// for each, and no key of a null is as long as what they write at a time. Of other rows runs that
// end anywhere in a vector, in blocks of just their size.
TEST_CASE("the keys of runs of any length, however many nulls there are") {
  support::Source source(29);
  for (char id = 0; id < kRowCount; ++id) {
    if (Types().IsFixed(id) == 0) continue;
    std::vector<Bytes> kinds = ValuesFor(id);
    std::erase(kinds, Bytes());
    for (const unsigned nullsIn1000 : {0U, 5U, 500U, 1000U}) {
      if (nullsIn1000 != 0 && !IsNullable(id)) break;
      for (const unsigned count : {1U, 2U, 17U, 31U, 33U, 64U, 100U, 1000U}) {
        std::vector<Bytes> stored;
        for (unsigned i = 0; i < count; ++i) {
          Bytes value = kinds[source.Below(static_cast<unsigned>(kinds.size()))];
          if (IsNullable(id)) value[0] = source.Below(1000) < nullsIn1000 ? 1 : 0;
          stored.push_back(value);
        }
        const Values values(id, std::move(stored));
        const KvSortKeyKind kind{.type = id, .options = kvSortKeyNullsLast};
        Bytes expected;
        for (unsigned i = 0; i < count; ++i) {
          expected = support::operator+(std::move(expected), KeyOf(kind, values[i]));
        }
        support::WithEachVectorSet([&] {
          Bytes keys(expected.size());
          std::size_t size = 0;
          CHECK(KvSortKeyRun(kind, values[0], 0, 8, count, keys.data(), keys.size(), nullptr,
                             size) == kvOk);
          CHECK(keys == expected);
        });
      }
    }
  }
}

// Vectors make the keys of long runs, and very long ones go past the caches: both against the plain
// loops over one part of a run that repeats itself.
TEST_CASE("keys of runs longer than the caches are those of the plain loops") {
  constexpr std::size_t kLong = 5 << 20;  // bytes of keys
  for (char id = 0; id < kRowCount; ++id) {
    const KvSortKeyKind kind{.type = id};
    if (!Types().IsFixed(id)) continue;
    const Values values(id, ValuesFor(id));
    for (const unsigned char format : kForms) {
      CAPTURE(int(id));
      CAPTURE(int(format));
      const std::size_t memory = std::size_t{Types().MemLenGet(id, 1)} * values.Count();
      const Bytes once = format == 8 ? Bytes(static_cast<const unsigned char*>(values[0]),
                                             static_cast<const unsigned char*>(values[0]) + memory)
                                     : values.Stored(format, 0, values.Count());
      std::size_t part = 0;
      Bytes expected(KvSortKeyBound(kind, 0, values.Count()));
      const kv::VectorSet before = kv::LimitVectors(kv::VectorSet::kPlain);
      KvSortKeyRun(kind, once.data(), 0, format, values.Count(), expected.data(), expected.size(),
                   nullptr, part);
      kv::LimitVectors(before);
      const auto repeats = static_cast<unsigned>(kLong / part + 1);
      Bytes run;
      for (unsigned i = 0; i < repeats; ++i) run.insert(run.end(), once.begin(), once.end());
      std::size_t size = 0;
      for (const std::size_t skew : {std::size_t{0}, std::size_t{1}}) {
        Bytes keys(repeats * part + skew + 1, 0xEE);
        REQUIRE(KvSortKeyRun(kind, run.data(), 0, format, repeats * values.Count(),
                             keys.data() + skew, repeats * part, nullptr, size) == kvOk);
        CHECK(keys.back() == 0xEE);
        unsigned equal = 0;
        for (unsigned i = 0; i < repeats; ++i) {
          equal += std::memcmp(keys.data() + skew + i * part, expected.data(), part) == 0;
        }
        CHECK(equal == repeats);
      }
    }
  }
}

TEST_CASE("a bound holds and is told without the values") {
  for (char id = 0; id < kRowCount; ++id) {
    CAPTURE(int(id));
    for (const unsigned count : {0U, 3U, 1000U}) {
      CHECK(KvSortKeyBound({.type = id}, 0, count) == count * KvSortKeyBound({.type = id}, 0, 1));
    }
    if (IsText(id)) continue;
    const Values values(id, ValuesFor(id));
    for (unsigned i = 0; i < values.Count(); ++i) {
      const std::size_t size = KeyOf({.type = id}, values[i]).size();
      const std::size_t bound = KvSortKeyBound({.type = id}, values.Stored(0, i).size());
      CHECK(size <= bound);
      if (Types().IsFixed(id) != 0 && Types().IsNullValue(id, values[i]) == 0) CHECK(size == bound);
    }
  }
}

TEST_CASE("the keys of zeros and ligatures are as long as their bounds") {
  const KvBlob zeros(5);
  CHECK(KeyOf({.type = KvBLOB_T}, &zeros).size() == KvSortKeyBound({.type = KvBLOB_T}, 5));
  const KvIString ligatures("\xDF\xDF");
  CHECK(KeyOf({.type = KvISTRING_T}, &ligatures).size() ==
        KvSortKeyBound({.type = KvISTRING_T}, 2));
}

TEST_CASE("where no key is, none begins") {
  for (const unsigned count : {0U, 2U}) {
    std::size_t size = 9, offsets[4] = {9, 9, 9, 9};
    const char id = count == 0 ? Kv4B_T : KvRES_T;
    CHECK(KvSortKeyRun({.type = id}, nullptr, 0, 8, count, nullptr, 0, offsets, size) == kvOk);
    for (unsigned i = 0; i < 4; ++i) CHECK(offsets[i] == (i <= count ? 0 : 9));
    KvSortKeyPiece piece;
    CHECK(KvSortKeyPieces({.type = KvRES_T}, nullptr, 0, &piece, 1, size) == kvOk);
    CHECK(size == 0);
  }
}

TEST_CASE("kinds that have no keys are refused, and nothing is written") {
  const o_4b number = 1;
  const auto check = [&](const KvSortKeyKind& kind, int expected) {
    CHECK(KvSortKeyCheck(kind) == expected);
    unsigned char key[64];
    std::memset(key, 0xEE, sizeof key);
    std::size_t size = 9;
    CHECK(KvSortKey(kind, &number, 0, 8, key, sizeof key, size) == expected);
    CHECK(size == 0);
    CHECK(std::count(key, key + sizeof key, 0xEE) == sizeof key);
    CHECK(KvSortKeyBound(kind, 4) == 0);
    std::size_t upper = 9;
    CHECK(KvSortKeyLength(kind, key, sizeof key, size) == expected);
    CHECK(KvSortKeyRange(kind, kvSortKeyBeginning, &number, 0, 8, sizeof key, key, size, key,
                         upper) == expected);
    CHECK((size == 0 && upper == 0));
  };
  check({.type = KvRES_T + 1}, kvBadArgument);
  check({.type = -1}, kvBadArgument);
  check({.type = Kv4B_T, .version = 0}, kvBadArgument);
  check({.type = Kv4B_T, .version = 2}, kvBadArgument);
  check({.type = Kv4B_T, .options = 0x10}, kvBadArgument);
  check({.type = Kv4B_T, .options = kvSortKeyNullsFirst | kvSortKeyNullsLast}, kvBadArgument);
  check({.type = KvSTRING_T, .cmpOp = 0}, kvBadArgument);
  check({.type = KvSTRING_T, .cmpOp = kvCompareExact | kvCompareKeyOrder}, kvNotSupported);
  for (unsigned bit = 1; bit < 0x10000; bit *= 2) {
    const auto cmpOp = static_cast<unsigned short>(kvCompareExact | bit);
    if ((bit & 0x2F0) != 0) {
      CHECK(KvSortKeyCheck({.type = KvSTRING_T, .cmpOp = cmpOp}) == kvOk);
    } else if (bit != kvCompareKeyOrder) {
      check({.type = KvSTRING_T, .cmpOp = cmpOp}, kvBadArgument);
    }
  }
  check({.type = 99}, kvBadArgument);
  CHECK(KvSortKeyCheck({.type = 100}) == kvOk);  // whose values have no bytes
  const KvCompareFunc own =
      Types().ExchangeKvTypeCmpFunc(Kv4B_T, [](unsigned char, unsigned, void*, unsigned, void*,
                                               unsigned short, unsigned, int&) { return 0; });
  check({.type = Kv4B_T}, kvNotSupported);
  Types().ExchangeKvTypeCmpFunc(Kv4B_T, own);
  CHECK(KvSortKeyCheck({.type = Kv4B_T}) == kvOk);
}

TEST_CASE("the key of NaN gives the NaN that the word gives") {
  double read = 0, scanned = 0;
  const unsigned char key[sizeof read] = {};
  std::size_t size = 0;
  CHECK(KvSortKeyValue({.type = KvDOUBLE_T}, key, sizeof key, &read, size) == kvOk);
  Types().ScanFromKvString(KvDOUBLE_T, &scanned, KvString("NaN"), nullptr, 1);
  CHECK(std::memcmp(&read, &scanned, sizeof read) == 0);
}

TEST_CASE("a key falls into its pieces, whatever follows it") {
  const KvString text("aB\xE9");
  const KvBlob blob("xyz", 3);
  KvBlob null;
  null.SetNullValue();
  const o_4b number = 5;
  const KvNull_short present(5);
  const KvIString small("ab");
  const KvCaseIString plain("ab");
  KvString bytes("abc");
  bytes.SetCodeSetCode(kvCodeSetBytes);
  const struct {
    KvSortKeyKind kind;
    const void* value;
    const char* pieces;  // the first letter of what it is, position, value, bytes
  } cases[] = {
      {{.type = Kv4B_T}, &number, "v0/0:4 "},
      {{.type = KvBLOB_T}, &null, "n0/0:1 "},
      {{.type = KvBLOB_T}, &blob, "p0/0:1 v0/0:3 e0/0:2 "},
      {{.type = KvNULL_2B_T}, &present, "p0/0:1 v0/0:2 "},
      {{.type = KvISTRING_T}, &small, "p0/0:1 v0/0:2 e0/0:1 "},
      {{.type = KvCASEISTRING_T}, &plain, "p0/0:1 v0/0:2 e0/0:1 "},
      {{.type = KvSTRING_T, .options = kvSortKeyPlainBytes}, &bytes, "p0/0:1 v0/0:3 e0/0:1 "},
      {{.type = KvSTRING_T},
       &text,
       "p0/0:1 o0/20492:1 o1/20496:1 o2/20508:1 b3/0:1 a2/2:1 c1/0:1 e0/1:1 "},
  };
  for (const auto& each : cases) {
    Bytes key = KeyOf(each.kind, each.value);
    const std::size_t whole = key.size();
    key.insert(key.end(), 4, 0x01);
    KvSortKeyPiece pieces[9];
    std::size_t count = 0;
    CHECK(KvSortKeyPieces(each.kind, key.data(), key.size(), pieces, 9, count) == kvOk);
    REQUIRE(count < 9);
    std::string told;
    std::size_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const KvSortKeyPiece& piece = pieces[i];
      CHECK(piece.offset == end);
      end += piece.size;
      told += "npvobacxe"[piece.part] + std::to_string(piece.position) + "/" +
              std::to_string(piece.value) + ":" + std::to_string(piece.size) + " ";
    }
    CHECK(end == whole);
    CHECK(told == each.pieces);
    // Into less room go as many as it holds.
    KvSortKeyPiece few[2] = {{}, {kvKeyEnd, 99, 0, 0, 0}};
    std::size_t all = 0;
    CHECK(KvSortKeyPieces(each.kind, key.data(), key.size(), few, 1, all) == kvOk);
    CHECK((all == count && few[0].size == pieces[0].size && few[1].position == 99));
    CHECK(KvSortKeyPieces(each.kind, key.data(), whole - 1, pieces, 9, count) == kvBadArgument);
    CHECK(count == 0);
  }
}

TEST_CASE("a range says what is wrong with it, and how much room it takes") {
  const KvString text("abc");
  const o_4b number = 1;
  unsigned char lower[64], upper[64];
  std::size_t size = 9, upperSize = 9;
  const auto range = [&](char id, unsigned char kind, const void* value, std::size_t capacity) {
    return KvSortKeyRange({.type = id}, kind, value, 0, 8, capacity, lower, size, upper, upperSize);
  };
  CHECK(range(KvSTRING_T, 2, &text, sizeof lower) == kvBadArgument);
  CHECK(range(Kv4B_T, kvSortKeyBeginning, &number, sizeof lower) == kvNotSupported);
  CHECK((size == 0 && upperSize == 0));
  CHECK(range(KvSTRING_T, kvSortKeyBeginning, &text, 1) == kvBufferShort);
  CHECK((size > 3 && upperSize == size));
}

TEST_CASE("8-bit strings with flags and 16-bit ones have no keys") {
  KvCaseIString text("abc");
  CHECK(KeyOf({.type = KvCASEISTRING_T}, &text).size() == 5);
  for (const unsigned char flag : std::initializer_list<unsigned char>{0x80, 0x20, 0x01}) {
    text.SetFlags(flag);
    CHECK(KeyOf({.type = KvCASEISTRING_T}, &text).empty());
  }
  const auto orders = [](unsigned char language) {
    return KeyOf({.type = KvSTRING_T},
                 support::StringBytes(254, language, std::string("\0\x40", 2)).data(), 0);
  };
  CHECK(!orders(5).empty());
  CHECK(orders(0x85) == orders(5));  // with the flag that texts of orders have there
  const Bytes wide = support::StringBytes(253, 1, std::string("a\0b\0", 4));
  CHECK(KeyOf({.type = KvISTRING_T}, wide.data(), 0).empty());
}

TEST_CASE("damaged blobs have no keys, and values whose memory ends too soon") {
  const Bytes blob = support::BlobBytes("abcdef");
  const KvSortKeyKind kind{.type = KvBLOB_T};
  std::size_t size;
  for (const char id : {KvBLOB_T, KvSTRING_T, KvISTRING_T}) {
    const Bytes stored = id == KvBLOB_T ? blob : support::StringBytes(1, 1, "abc");
    for (unsigned length = 1; length < stored.size(); ++length) {
      const Bytes cut(stored.begin(), stored.begin() + length);
      CHECK(KvSortKey({.type = id}, cut.data(), length, 0, nullptr, 0, size) == kvBadArgument);
    }
  }
  const KvBlob whole("abc", 3);
  CHECK(KvSortKey(kind, &whole, sizeof whole - 1, 8, nullptr, 0, size) == kvBadArgument);
  unsigned char key[8];
  const o_4b number = 5;
  CHECK(KvSortKey({.type = Kv4B_T}, &number, 1, 8, key, sizeof key, size) == kvBadArgument);
  const KvIString text("abc");
  CHECK(KvSortKey({.type = KvISTRING_T}, &text, sizeof text - 1, 8, nullptr, 0, size) ==
        kvBadArgument);
  const KvString string("abc");
  CHECK(KvSortKey({.type = KvSTRING_T}, &string, sizeof string - 1, 8, nullptr, 0, size) ==
        kvBadArgument);
  Bytes lying = blob;
  lying[4] = 200;  // more than the run holds
  CHECK(KvSortKey(kind, lying.data(), static_cast<unsigned>(lying.size()), 0, nullptr, 0, size) ==
        kvBadArgument);
}

TEST_CASE("a key of more than a blob holds is refused") {
  constexpr std::size_t kMost = 0x7FFFFFFF;
  if (sizeof(void*) < 8) return;  // has no room for it
  // Turned over, a page that was never written is content. Before it 01, behind it the end.
  void* const block = mmap(nullptr, kMost + 4, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  REQUIRE(block != MAP_FAILED);
  auto* const key = static_cast<unsigned char*>(block);
  key[0] = 0xFE;
  std::memset(key + kMost + 2, 0xFF, 2);
  const KvSortKeyKind kind = {.type = KvBLOB_T, .options = kvSortKeyDescending};
  std::size_t size = 0;
  CHECK(KvSortKeyLength(kind, key, kMost + 4, size) == kvOverflow);
  munmap(block, kMost + 4);
}
