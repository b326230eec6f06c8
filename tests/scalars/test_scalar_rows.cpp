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

TEST_CASE_TEMPLATE("scalar rows store, order and hash in every form", R, KV_SCALAR_ROWS) {
  using T = typename R::Value;
  KvTypeMgr types;
  int status = 9;
  for (unsigned count : {1u, 2u, 3u, 7u, 8u, 9u, 33u, 100u, 2500u}) {
    CAPTURE(count);
    std::vector<T> a = Samples<T>(count, count);
    std::vector<unsigned char> stored(count * sizeof(T));
    REQUIRE(types.Store(R::id, stored.data(), a.data(), 2, count) == stored.size());
    REQUIRE(stored == MostSignificantFirst(a));
    std::vector<unsigned char> little = LeastSignificantFirst(a);
    std::vector<T> back(count);
    REQUIRE(types.Load(R::id, back.data(), stored.data(), 2, count) == stored.size());
    REQUIRE(std::memcmp(back.data(), a.data(), stored.size()) == 0);
    REQUIRE(types.DiskLenGet(R::id, stored.data(), 2, count, 0) == stored.size());

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
  CHECK(types.IsNullValue(R::id, values) == 0);
  CHECK(types.SetNullValue(R::id, values) == 0);
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

TEST_CASE("order of NaN, infinities and zeros") {
  KvTypeMgr types;
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double ordered[] = {nan, -inf, -DBL_MAX, -1, 0, 1, DBL_MAX, inf};
  for (double& left : ordered) {
    for (double& right : ordered) {
      CHECK(types.Cmp(KvDOUBLE_T, &left, &right, 0, 1, 8) ==
            PlainOrder(&left - &right, std::ptrdiff_t{0}));
    }
  }
  double zeros[] = {-0.0, 0.0};
  CHECK(types.Cmp(KvDOUBLE_T, &zeros[0], &zeros[1], 0, 1, 8) == 0);
  // Equal values of unequal bytes do not end the walk.
  double left[] = {-0.0, 0.0, -0.0, 1};
  double right[] = {0.0, -0.0, 0.0, 2};
  CHECK(types.Cmp(KvDOUBLE_T, left, right, 0, 4, 8) == -1);
  CHECK(types.Cmp(KvDOUBLE_T, left, right, 0, 3, 8) == 0);
}

TEST_CASE("bounds: the fraction") {
  KvTypeMgr types;
  o_4b lower = 1;
  o_4b upper = 10;
  KvIdxBounds range{reinterpret_cast<unsigned char*>(&lower),
                    reinterpret_cast<unsigned char*>(&upper), 4, 4};
  struct {
    unsigned short predicate;
    o_4b constant;
    float fraction;
  } const cases[] = {{1, 5, 0.1f},  {1, 20, 0.0f}, {4, 5, 0.5f}, {5, 5, 0.6f}, {2, 20, 1.0f},
                     {2, 1, 0.0f},  {2, 5, 0.4f},  {3, 5, 0.5f}, {7, 5, 1.0f}, {4, -7, 1.0f},
                     {4, 10, 0.0f}, {0, 5, 0.0f},  {8, 5, 0.0f}};
  for (const auto& each : cases) {
    CAPTURE(each.predicate);
    CAPTURE(each.constant);
    unsigned short predicate = each.predicate;
    o_4b constant = each.constant;
    CHECK(types.EvalAndBound(Kv4B_T, &range, predicate, &constant, 8, 1, nullptr, nullptr) ==
          doctest::Approx(each.fraction));
    CHECK(predicate == each.predicate);
  }

  // An inverted range is none.
  unsigned short equal = kvPredicateEqual;
  o_4b constant = 5;
  std::swap(lower, upper);
  CHECK(types.EvalAndBound(Kv4B_T, &range, equal, &constant, 8, 1, nullptr, nullptr) == 0);
  // An integer may be as small a part as one of all.
  lower = std::numeric_limits<o_4b>::min();
  upper = std::numeric_limits<o_4b>::max();
  CHECK(types.EvalAndBound(Kv4B_T, &range, equal, &constant, 8, 1, nullptr, nullptr) == 0x1p-32f);
}

TEST_CASE("bounds of stored and floating values") {
  KvTypeMgr types;
  unsigned short greater = 4;
  unsigned char lower[] = {0, 1};
  unsigned char upper[] = {0, 10};
  unsigned char constant[] = {0, 5};
  KvIdxBounds range{lower, upper, 2, 2};
  CHECK(types.EvalAndBound(Kv2B_T, &range, greater, constant, 2, 1, nullptr, nullptr) ==
        doctest::Approx(0.5));

  const auto fraction = [&](double low, double high, unsigned short predicate, double value) {
    KvIdxBounds bounds{reinterpret_cast<unsigned char*>(&low),
                       reinterpret_cast<unsigned char*>(&high), 8, 8};
    return types.EvalAndBound(KvDOUBLE_T, &bounds, predicate, &value, 8, 1, nullptr, nullptr);
  };
  CHECK(fraction(0, 9, 4, 4) == doctest::Approx(0.5));
  CHECK(fraction(0, 1e6, 4, 1e6 - 1e-9) == 0x1p-23f);  // never below 2^-23 when not 0
  CHECK(fraction(0, 1e6, 4, 1e6) == 0);
  // Less than one unit outside the range still adds a little, as the steps have it.
  CHECK(fraction(0, 9, 1, 9.5) == doctest::Approx(0.05));
  CHECK(fraction(0, 0, 7, 0.5) == 1);  // but no more than there is
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  CHECK(fraction(-inf, inf, 4, 0) >= 1.0f);
  CHECK(fraction(0, 9, 4, nan) >= 1.0f);
  CHECK(fraction(nan, 9, 2, 0) >= 1.0f);
  // Equal takes the NaN of either side.
  CHECK(fraction(nan, 9, 1, 5) >= 1.0f);
  CHECK(fraction(0, nan, 1, 5) >= 1.0f);
  CHECK(fraction(0, 9, 1, nan) >= 1.0f);
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

  o_4b scanned = 0;
  KvString input("-42");
  CHECK(types.ScanFromKvString(Kv4B_T, &scanned, input, nullptr, 1) == &scanned);
  CHECK(scanned == -42);
  CHECK(types.ScanFromKvString(Kv4B_T, nullptr, input, nullptr, 1) == nullptr);
}

TEST_CASE_TEMPLATE("every value's text converts back to it", R, KV_SCALAR_ROWS) {
  using T = typename R::Value;
  KvTypeMgr types;
  std::vector<T> values = Samples<T>(5, 40);
  // The character rows end at a zero, and 0 itself is the empty text.
  KvTypeConvertData* record = types.ConvertTo(R::id, values.data(), 40);
  REQUIRE(record != nullptr);
  CHECK(record->GetString(40) == nullptr);
  auto* back = static_cast<T*>(types.ConvertFrom(R::id, record, 42));
  REQUIRE(back != nullptr);
  for (std::size_t i = 0; i < values.size(); ++i) {
    CAPTURE(i);
    CHECK(PlainOrder(back[i], values[i]) == 0);
  }
  CHECK(back[40] == T(0));  // a text that is missing reads as an empty one
  CHECK(back[41] == T(0));
  types.Delete(R::id, back, 42);
  delete record;
}

TEST_CASE("long runs of bytes compare as memcmp has it, with all vectors, wherever they differ") {
  const auto sign = [](int order) { return (order > 0) - (order < 0); };
  support::WithEachVectorSet([&] {
    std::mt19937 engine(7);
    const auto random = [&engine](unsigned limit) {
      return static_cast<unsigned>(engine() % limit);
    };
    KvTypeMgr& types = *DefaultTypeMgr(nullptr);
    for (unsigned round = 0; round < 1500; ++round) {
      const unsigned count = 500 + random(900);
      const unsigned shift = random(70);
      const unsigned otherShift = random(70);
      // Blocks that end with the runs.
      std::vector<o_u1b> a(shift + count, 7);
      std::vector<o_u1b> b(otherShift + count, 7);
      o_u1b* left = a.data() + shift;
      o_u1b* right = b.data() + otherShift;
      if (round % 5 != 0) left[random(count)] = static_cast<o_u1b>(random(256));
      if (round % 3 == 0) right[count - 1 - random(70)] = static_cast<o_u1b>(random(256));
      REQUIRE(sign(types.Cmp(KvU1B_T, left, right, 0, count, 8)) ==
              sign(std::memcmp(left, right, count)));
    }
  });
}

TEST_CASE("whole numbers are read alike at every length, whatever stands around them") {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const std::string allDigits = "9981726354627180945";
  for (const std::string before : {"", "-", "+", " \t", "\n -"}) {
    for (std::size_t count = 0; count <= allDigits.size(); ++count) {
      // The neighbours of the digits, a digit with its top bit set, and what follows a number.
      for (const std::string behind : {"", "/", ":", "\xB9", " 1", "x12345678", "\xFF\x01"}) {
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
