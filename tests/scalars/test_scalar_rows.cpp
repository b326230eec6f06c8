// The plain scalar rows through KvTypeMgr: stored form, order, hash, bounds and stepping, each
// against a plain reference over the native values.

#include <doctest/doctest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kv.h"
#include "support/host.h"
#include "support/types.h"
#include "support/vector_sets.h"

namespace {

template <class T, char typeId>
struct Row {
  using Value = T;
  static constexpr char id = typeId;
};

#define KV_SCALAR_ROWS                                                                         \
  Row<o_char, Kv1B_T>, Row<o_u1b, KvU1B_T>, Row<o_2b, Kv2B_T>, Row<o_u2b, KvU2B_T>,            \
      Row<o_4b, Kv4B_T>, Row<o_u4b, KvU4B_T>, Row<o_u4b, KvBLOCKID_T>, Row<int, KvINT_T>,      \
      Row<int, KvENUM_T>, Row<unsigned, KvUNSIGNED_T>, Row<o_8b, Kv8B_T>, Row<o_u8b, KvU8B_T>, \
      Row<o_float, KvFLOAT_T>, Row<o_double, KvDOUBLE_T>

// Values of a type with its edges among them.
template <class T>
std::vector<T> Samples(unsigned seed, std::size_t count) {
  using Limits = std::numeric_limits<T>;
  std::mt19937 random(seed);
  std::vector<T> edges{T(0), T(1), T(-1), Limits::max(), Limits::lowest(), T(0x7F), T(-128)};
  if constexpr (Limits::has_infinity) {
    edges.insert(edges.end(), {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
                               T(-0.0), Limits::denorm_min(), -Limits::denorm_min()});
  }
  std::vector<T> values;
  while (values.size() < count) {
    T value = edges[random() % edges.size()];
    if (random() % 2 != 0) {
      const o_u8b bits = (o_u8b{random()} << 32) | random();
      std::memcpy(&value, &bits, sizeof value);
    }
    values.push_back(value);
  }
  return values;
}

template <class T>
std::vector<unsigned char> MostSignificantFirst(const std::vector<T>& values) {
  return support::StoredBytes(values.data(), values.size(), true);
}
template <class T>
std::vector<unsigned char> LeastSignificantFirst(const std::vector<T>& values) {
  return support::StoredBytes(values.data(), values.size(), false);
}

template <class T>
int PlainOrder(T a, T b) {
  if constexpr (std::numeric_limits<T>::has_infinity) {
    if (std::isnan(a) || std::isnan(b)) return int(std::isnan(b)) - int(std::isnan(a));
  }
  return a < b ? -1 : a > b ? 1 : 0;
}

template <class T>
int PlainRunOrder(const std::vector<T>& a, const std::vector<T>& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (const int order = PlainOrder(a[i], b[i]); order != 0) return order;
  }
  return 0;
}

template <class T>
unsigned PlainHash(const std::vector<T>& values) {
  unsigned hash = 0;
  for (T value : values) {
    if constexpr (sizeof(T) == 8) {
      unsigned halves[2];
      std::memcpy(halves, &value, 8);
      hash ^= halves[0] ^ halves[1];
    } else if constexpr (std::is_floating_point_v<T>) {
      unsigned bits;
      std::memcpy(&bits, &value, 4);
      hash ^= bits;
    } else {
      hash ^= static_cast<unsigned>(static_cast<long long>(value));
    }
  }
  return hash * 1103515245u;
}

}  // namespace

TEST_CASE_TEMPLATE("scalar rows order and hash in every form", R, KV_SCALAR_ROWS) {
  using T = typename R::Value;
  KvTypeMgr types;
  int status = 9;
  for (unsigned count : {1u, 2u, 3u, 7u, 8u, 9u, 33u, 100u, 2500u}) {
    CAPTURE(count);
    std::vector<T> a = Samples<T>(count, count);
    std::vector<unsigned char> stored = MostSignificantFirst(a);
    std::vector<unsigned char> little = LeastSignificantFirst(a);

    CHECK(types.Hash(R::id, 0, a.data(), count, 8, status) == PlainHash(a));
    for (unsigned char format : std::initializer_list<unsigned char>{1, 0, 0x91}) {
      CHECK(types.Hash(R::id, 0, little.data(), count, format, status) == PlainHash(a));
    }
    CHECK(types.Hash(R::id, 0, stored.data(), count, 2, status) == PlainHash(a));

    // Equal up to a place, different there; and equal throughout.
    for (unsigned place = 0; place <= count; place += std::max(1u, count / 9)) {
      std::vector<T> b = Samples<T>(place + 77, count);
      std::copy_n(a.begin(), place, b.begin());
      const int expected = PlainRunOrder(a, b);
      CAPTURE(place);
      std::vector<unsigned char> littleB = LeastSignificantFirst(b);
      for (unsigned char format : std::initializer_list<unsigned char>{8, 1, 0, 0x18}) {
        const bool isMemory = (format & 15) == 8;
        void* left = isMemory ? static_cast<void*>(a.data()) : little.data();
        void* right = isMemory ? static_cast<void*>(b.data()) : littleB.data();
        CHECK(types.Cmp(R::id, 0, left, 0, right, 0, count, format, status) == expected);
        CHECK(status == 0);
      }
      std::vector<unsigned char> storedB = MostSignificantFirst(b);
      CHECK(types.Cmp(R::id, 0, stored.data(), 0, storedB.data(), 0, count, 2, status) == expected);
      CHECK(types.Cmp(R::id, storedB.data(), stored.data(), 0, count, 2) == -expected);
    }
  }
  CHECK(types.Cmp(R::id, 0, nullptr, 0, nullptr, 0, 0, 8, status) == 0);
  CHECK(types.Hash(R::id, 0, nullptr, 0, 8, status) == 0);
  CHECK(types.Store(R::id, nullptr, nullptr, 2, 0) == 0);
}

TEST_CASE_TEMPLATE("a short buffer gives 2101 only when the next element would start outside", R,
                   KV_SCALAR_ROWS) {
  using T = typename R::Value;
  KvTypeMgr types;
  // All equal, so the walk goes as far as the buffers let it.
  std::vector<T> run(5, T(3));
  for (unsigned length = 0; length <= 6 * sizeof(T); ++length) {
    CAPTURE(length);
    const bool shortRun = length != 0 && length <= 4 * sizeof(T);
    int status = 9;
    CHECK(types.Cmp(R::id, length, run.data(), 0, run.data(), 0, 5, 8, status) == 0);
    CHECK(status == (shortRun ? kvBufferShort : 0));
    CHECK(types.Cmp(R::id, 0, run.data(), length, run.data(), 0, 5, 2, status) == 0);
    CHECK(status == (shortRun ? kvBufferShort : 0));
    const unsigned seen =
        shortRun ? static_cast<unsigned>((length + sizeof(T) - 1) / sizeof(T)) : 5;
    CHECK(types.Hash(R::id, length, run.data(), 5, 8, status) ==
          PlainHash(std::vector<T>(seen, T(3))));
    CHECK(status == (shortRun ? kvBufferShort : 0));
  }
  // A difference before the end of the buffer is the order, and no error.
  std::vector<T> other = run;
  other[1] = T(4);
  int status = 9;
  CHECK(types.Cmp(R::id, 2 * sizeof(T), run.data(), 0, other.data(), 0, 5, 8, status) == -1);
  CHECK(status == 0);
}

TEST_CASE_TEMPLATE("values step to their successor", R, KV_SCALAR_ROWS) {
  using T = typename R::Value;
  using Limits = std::numeric_limits<T>;
  KvTypeMgr types;
  std::vector<T> values = Samples<T>(9, 60);
  values.push_back(Limits::max());
  for (T value : values) {
    T stepped = value;
    const int status = types.GetValue(R::id, &stepped, sizeof(T), 8, 'M');
    if constexpr (Limits::has_infinity) {
      if (!std::isfinite(value)) {
        CHECK(status == kvNotSupported);
        CHECK(std::memcmp(&stepped, &value, sizeof(T)) == 0);
        continue;
      }
    }
    if (value == Limits::max()) {
      CHECK(status == kvOverflow);
      CHECK(stepped == value);
    } else {
      CHECK(status == kvOk);
      if constexpr (Limits::is_integer) CHECK(stepped == static_cast<T>(value + 1));
      // Nothing lies between a floating value and its successor.
      if constexpr (!Limits::is_integer)
        CHECK(std::nextafter(stepped, -Limits::infinity()) == value);
    }
    T kept = value;
    CHECK(types.GetValue(R::id, &kept, sizeof(T), 8, 'O') == kvOk);
    CHECK(types.GetValue(R::id, &kept, sizeof(T), 8, 'P') == kvNotSupported);
    CHECK(std::memcmp(&kept, &value, sizeof(T)) == 0);
  }
  // A stored value is stepped in memory order, also where its format says reversed.
  const T five(5);
  const T next = Limits::is_integer ? T(6) : std::nextafter(five, T(6));
  std::vector<unsigned char> stored = support::StoredBytes(&five, 1, false);
  CHECK(types.GetValue(R::id, stored.data(), sizeof(T), 0, 'N') == kvOk);
  CHECK(stored == support::StoredBytes(&next, 1, false));
  const T afterNext = Limits::is_integer ? T(7) : std::nextafter(next, T(7));
  CHECK(types.GetValue(R::id, stored.data(), sizeof(T), 2, 'N') == kvOk);
  CHECK(stored == support::StoredBytes(&afterNext, 1, false));
}

TEST_CASE_TEMPLATE("lifetime, null and array operations", R, KV_SCALAR_ROWS) {
  using T = typename R::Value;
  KvTypeMgr types;
  auto* values = static_cast<T*>(types.Create(R::id, 4));
  REQUIRE(values != nullptr);
  T source[4] = {T(1), T(2), T(3), T(4)};
  types.AssignmentPtrGet(R::id)(values, source, 4, 0);
  CHECK(std::memcmp(values, source, sizeof source) == 0);
  types.ConstructorPtrGet(R::id)(values, 3, 0);
  CHECK(values[2] == T(0));
  CHECK(values[3] == T(4));
  types.CopyPtrGet(R::id)(values, source + 1, 1, 0);
  CHECK(values[0] == T(2));
  types.SetNullValue(R::id, values);
  CHECK(values[0] == T(0));
  CHECK(types.DiskIsNullValue(R::id, values) == kvNotSupported);
  CHECK(types.GetArrayElement(R::id, values, 3, 3) == nullptr);
  CHECK(types.GetArrayElement(R::id, values, 3, 0) == values + 3);
  CHECK(types.GetArrayElement(R::id, values, 2, 3) == values + 2);
  CHECK(types.Delete(R::id, values, 4) == nullptr);
  auto* defaults = static_cast<T*>(types.DefaultValue(R::id, 2, 0));
  REQUIRE(defaults != nullptr);
  CHECK(defaults[0] == T(0));
  CHECK(defaults[1] == T(0));
  types.Delete(R::id, defaults, 2);
  // More than the address space holds.
  if (sizeof(void*) == 4 && sizeof(T) > 1) CHECK(types.Create(R::id, UINT_MAX) == nullptr);
}

TEST_CASE("a run is compared up to its first difference, however long it is said to be") {
  const o_8b a[8] = {1, 2, 3}, b[8] = {1, 2, 4};
  int status = 9;
  const auto at = [](const o_8b* run) { return const_cast<o_8b*>(run); };
  for (const unsigned count : {0x20000002u, 0x20000001u, 0x40000000u, 0xFFFFFFFFu}) {
    CHECK(O_8BCompare(8, 0, at(a), 0, at(b), 0, count, status) == -1);
    CHECK(status == kvOk);
  }
}

TEST_CASE("zeros of unequal bytes do not end the walk") {
  double left[] = {-0.0, 0.0, -0.0, 1};
  double right[] = {0.0, -0.0, 0.0, 2};
  CHECK(KvTypeMgr().Cmp(KvDOUBLE_T, left, right, 0, 4, 8) == -1);
  CHECK(KvTypeMgr().Cmp(KvDOUBLE_T, left, right, 0, 3, 8) == 0);
}

TEST_CASE("shares of a range at the edges of its numbers") {
  const auto fraction = [](char id, auto low, auto high, unsigned short predicate, auto value) {
    KvIdxBounds bounds{reinterpret_cast<unsigned char*>(&low),
                       reinterpret_cast<unsigned char*>(&high), sizeof low, sizeof high};
    return KvTypeMgr().EvalAndBound(id, &bounds, predicate, &value, 8, 1, nullptr, nullptr);
  };
  using Limits = std::numeric_limits<o_4b>;
  CHECK(fraction(Kv4B_T, 1, 10, kvPredicateLess, 5) == doctest::Approx(0.4));
  CHECK(fraction(Kv4B_T, 10, 1, kvPredicateEqual, 5) == 0);  // an inverted range is none
  // An integer may be as small a part as one of all.
  CHECK(fraction(Kv4B_T, Limits::min(), Limits::max(), kvPredicateEqual, 5) == 0x1p-32f);

  const auto share = [&](double low, double high, unsigned short predicate, double value) {
    return fraction(KvDOUBLE_T, low, high, predicate, value);
  };
  CHECK(share(0, 9, 4, 4) == doctest::Approx(0.5));
  CHECK(share(0, 1e6, 4, 1e6 - 1e-9) == 0x1p-23f);  // never below 2^-23 when not 0
  CHECK(share(0, 1e6, 4, 1e6) == 0);
  // Less than one unit outside the range still adds a little, as the steps have it.
  CHECK(share(0, 9, 1, 9.5) == doctest::Approx(0.05));
  CHECK(share(0, 0, 7, 0.5) == 1);  // but no more than there is
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  CHECK(share(-inf, inf, 4, 0) >= 1.0f);
  CHECK(share(0, 9, 4, nan) >= 1.0f);
  // Above the largest float is infinity, though the largest one would be nearer.
  CHECK(share(0, DBL_MAX / (FLT_MAX * (1 + 0x1p-26)), 4, nan) == inf);
  CHECK(share(nan, 9, 2, 0) >= 1.0f);
  // Equal takes the NaN of either side.
  CHECK(share(nan, 9, 1, 5) >= 1.0f);
  CHECK(share(0, nan, 1, 5) >= 1.0f);
  CHECK(share(0, 9, 1, nan) >= 1.0f);
}

TEST_CASE("runs print with separators and convert to texts and back") {
  KvTypeMgr types;
  o_4b run[3] = {1, 2, 3};
  KvString text;
  types.PrintToKvString(Kv4B_T, text, run, nullptr, 3);
  CHECK(std::strcmp(text.StrGet(), "1,2,3") == 0);
  types.PrintToKvString(Kv4B_T, text, run, nullptr, 2);  // a run appends
  CHECK(std::strcmp(text.StrGet(), "1,2,31,2") == 0);
  types.PrintToKvString(Kv4B_T, text, run, "<%d>", 1);  // one value replaces
  CHECK(std::strcmp(text.StrGet(), "<1>") == 0);
  types.PrintToKvString(Kv1B_T, text, const_cast<char*>("abcde"), nullptr, 5);
  CHECK(std::strcmp(text.StrGet(), "abcde") == 0);
  CHECK(types.ScanFromKvString(Kv4B_T, nullptr, text, nullptr, 1) == nullptr);
}

TEST_CASE("long runs of bytes compare as memcmp has it, with all vectors, wherever they differ") {
  support::WithEachVectorSet([&] {
    std::mt19937 engine(7);
    const auto random = [&engine](unsigned limit) {
      return static_cast<unsigned>(engine() % limit);
    };
    KvTypeMgr& types = *DefaultTypeMgr(nullptr);
    for (unsigned round = 0; round < 1500; ++round) {
      const unsigned count = 500 + random(round % 16 == 0 ? 40000 : 900);
      const unsigned shift = random(70);
      const unsigned otherShift = random(70);
      // Blocks that end with the runs. Beside all bits set none can be missing.
      const o_u1b fill = round % 2 == 0 ? 7 : 0xFF;
      std::vector<o_u1b> a(shift + count, fill);
      std::vector<o_u1b> b(otherShift + count, fill);
      o_u1b* left = a.data() + shift;
      o_u1b* right = b.data() + otherShift;
      if (round % 5 != 0) left[random(count)] = static_cast<o_u1b>(random(256));
      if (round % 3 == 0) right[count - 1 - random(70)] = static_cast<o_u1b>(random(256));
      REQUIRE(support::Sign(types.Cmp(KvU1B_T, left, right, 0, count, 8)) ==
              support::Sign(std::memcmp(left, right, count)));
    }
  });
}

TEST_CASE("whole numbers are read alike at every length, whatever stands around them") {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const std::string allDigits = "9981726354627180945";
  for (const std::string before : {"", "-", "+", " \t", "\n -"}) {
    for (std::size_t count = 0; count <= allDigits.size(); ++count) {
      // The neighbours of the digits, a digit with its top bit set, and what follows a number.
      for (const std::string behind : {"", "/", ":", "\xB9", " 1", "F12345678", "\xFF\x01"}) {
        const std::string text = before + allDigits.substr(0, count) + behind;
        KvString exact(text.c_str());
        KvString roomy(std::string(text.size() + 20, '7').c_str());
        roomy.Cut(0, static_cast<unsigned short>(text.size() + 20));
        roomy << text.c_str();
        INFO(text);
        for (KvString* each : {&exact, &roomy}) {
          o_4b number = -5;
          o_8b longNumber = -5;
          types.ScanFromKvString(Kv4B_T, &number, *each, nullptr, 1);
          types.ScanFromKvString(Kv8B_T, &longNumber, *each, nullptr, 1);
          char* end = nullptr;
          const long long read = std::strtoll(text.c_str(), &end, 10);
          const long long expected = end == text.c_str() ? -5 : read;
          CHECK(longNumber == expected);
          CHECK(number == std::clamp<long long>(expected, -2147483647 - 1, 2147483647));
        }
      }
    }
  }
}
