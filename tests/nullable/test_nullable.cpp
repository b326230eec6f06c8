// One suite over the thirteen nullable rows. Each is held against the row of its scalar, which is
// its oracle for present values, and against the rules for nulls.
#include <doctest/doctest.h>

#include <climits>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "kvnull.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "kvtypevl/rows/nullable_hash.h"
#include "support/host.h"
#include "support/types.h"

template <>
struct std::numeric_limits<KvInt64> {
  static KvInt64 lowest() { return LLONG_MIN; }
};

namespace {

using support::Types;

template <class Nullable, char row, char scalarRow>
struct Member {
  using Value = Nullable;
  using Scalar = decltype(Nullable().value);
  static constexpr char kRow = row;
  static constexpr char kScalarRow = scalarRow;
};

using Members = std::tuple<
    Member<KvNull_char, KvNULL_1B_T, Kv1B_T>, Member<KvNull_uchar, KvNULL_U1B_T, KvU1B_T>,
    Member<KvNull_short, KvNULL_2B_T, Kv2B_T>, Member<KvNull_ushort, KvNULL_U2B_T, KvU2B_T>,
    Member<KvNull_int, KvNULL_INT_T, KvINT_T>,
    Member<KvNull_unsigned, KvNULL_UNSIGNED_T, KvUNSIGNED_T>,
    Member<KvNull_long, KvNULL_4B_T, Kv4B_T>, Member<KvNull_ulong, KvNULL_U4B_T, KvU4B_T>,
    Member<KvNull_float, KvNULL_FLOAT_T, KvFLOAT_T>,
    Member<KvNull_double, KvNULL_DOUBLE_T, KvDOUBLE_T>,
    Member<KvNull_KvInt64, KvNULL_KVINT64_T, KvINT64_T>, Member<KvNull_8b, KvNULL_8B_T, Kv8B_T>,
    Member<KvNull_u8b, KvNULL_U8B_T, KvU8B_T>>;

template <class Scalar>
Scalar RandomScalar(std::mt19937_64& random) {
  const o_u8b bits = random() >> (random() % 64);
  Scalar scalar;
  std::memcpy(static_cast<void*>(&scalar), &bits, sizeof scalar);
  return scalar;
}

template <class Member>
std::vector<typename Member::Value> RandomRun(std::mt19937_64& random, std::size_t count) {
  std::vector<typename Member::Value> run(count);
  for (auto& value : run) {
    value = RandomScalar<typename Member::Scalar>(random);
    if (random() % 4 == 0) value.SetNullValue();
    if (random() % 8 == 0) value.null = 5;  // any flag but 0 is null
  }
  return run;
}

template <class Member, class Run>
std::string Stored(Run& run, unsigned char format) {
  const auto count = static_cast<unsigned>(run.size());
  const unsigned size = Types().DiskLenGet(Member::kRow, nullptr, format, count, 0);
  std::string bytes(size, '?');
  CHECK(Types().Store(Member::kRow, bytes.data(), run.data(), format, count) == size);
  return bytes;
}

template <class Member>
std::string Printed(typename Member::Value value, const char* format = nullptr) {
  KvString text;
  return Types().PrintToKvString(Member::kRow, text, &value, format, 1).StrGet();
}

}  // namespace

TEST_CASE_TEMPLATE_DEFINE("with the memory bit the indicator stands behind", M, storedForm) {
  std::mt19937_64 random(1);
  std::vector<typename M::Value> run = RandomRun<M>(random, 50), loaded(50);
  constexpr unsigned width = sizeof(typename M::Scalar);
  const std::string front = Stored<M>(run, 0), behind = Stored<M>(run, 8);
  for (std::size_t at = 0; at < front.size(); at += width + 1) {
    REQUIRE(front.substr(at + 1, width) + front[at] == behind.substr(at, width + 1));
  }
  CHECK(Types().Load(M::kRow, loaded.data(), behind.data(), 8, 50) == behind.size());
  CHECK(Stored<M>(loaded, 0) == front);
}

// The vector kernel of one width, and the element by element one behind it as its plain twin.
template <class M, unsigned width>
void CheckLanes(const std::vector<typename M::Value>& run, unsigned count) {
  kv::NullableHash byLanes, plain;
  const auto* bytes = reinterpret_cast<const unsigned char*>(run.data());
  const unsigned done = kv::AddNullableLanes<typename M::Scalar, width>(byLanes, bytes, count);
  REQUIRE(done <= count);
  CHECK(count - done < width / 2);
  for (unsigned i = 0; i < done; ++i) {
    int status;
    auto scalar = run[i].value;
    const unsigned product = Types().Hash(M::kScalarRow, 0, &scalar, 1, 8, status);
    plain.nulls += run[i].null != 0;
    if (run[i].null == 0) plain.products ^= product;
  }
  CHECK(byLanes.Result() == plain.Result());
}

TEST_CASE_TEMPLATE_DEFINE("order and hash follow the scalar's, nulls first", M, orderAndHash) {
  using Value = typename M::Value;
  std::mt19937_64 random(2);
  for (int round = 0; round < 300; ++round) {
    std::vector<Value> a = RandomRun<M>(random, 3), b = a;
    if (round % 2 == 0) b[2] = RandomRun<M>(random, 1)[0];
    const bool leftNull = a[2].IsNullValue(), rightNull = b[2].IsNullValue();
    int expected = (rightNull ? 1 : 0) - (leftNull ? 1 : 0);
    if (!leftNull && !rightNull) {
      expected = Types().Cmp(M::kScalarRow, &a[2].value, &b[2].value, 0, 1, 8);
    }
    int status;
    unsigned hash = 0;
    for (Value& value : a) {
      hash ^= value.IsNullValue() ? 0xFEFE7575u
                                  : Types().Hash(M::kScalarRow, 0, &value.value, 1, 8, status);
    }
    REQUIRE(Types().Cmp(M::kRow, a.data(), b.data(), 0, 3, 8) == expected);
    REQUIRE(Types().Hash(M::kRow, 0, a.data(), 3, 8, status) == hash);
    for (const unsigned char format : {o_u1b{0}, o_u1b{1}, o_u1b{2}}) {
      std::string left = Stored<M>(a, format), right = Stored<M>(b, format);
      REQUIRE(Types().Cmp(M::kRow, left.data(), right.data(), 0, 3, format) == expected);
      REQUIRE(Types().Hash(M::kRow, 0, left.data(), 3, format, status) == hash);
    }
  }
  // Runs of every length up to several vectors hash as their elements do, in vectors of every
  // width: the processor here may have only some of them.
  std::vector<Value> run = RandomRun<M>(random, 300);
  unsigned expected = 0;
  for (unsigned count = 0; count <= run.size(); ++count) {
    int hashed = -1;
    CHECK(Types().Hash(M::kRow, 0, run.data(), count, 8, hashed) == expected);
    CHECK(hashed == kvOk);
    if constexpr (!support::kHostIsBig) {  // the lanes are those of a little-endian host
      CheckLanes<M, 16>(run, count);
      CheckLanes<M, 32>(run, count);
      CheckLanes<M, 64>(run, count);
    }
    if (count == run.size()) break;
    expected ^= Types().Hash(M::kRow, 0, &run[count], 1, 8, hashed);
  }
  // And from every place in a cache line on.
  for (unsigned start = 0; start < 64; ++start) {
    int hashed = -1;
    CHECK(Types().Hash(M::kRow, 0, &run[start], 300 - start, 8, hashed) == expected);
    expected ^= Types().Hash(M::kRow, 0, &run[start], 1, 8, hashed);
  }
  // A long run with a difference in its last element, past every stretch compared as bytes.
  std::vector<Value> a = RandomRun<M>(random, 5000), b = a;
  b.back() = Value();
  a.back() = typename M::Scalar{};
  int status = -1;
  CHECK(Types().Cmp(M::kRow, a.data(), b.data(), 0, 5000, 8) == 1);
  CHECK(Types().Cmp(M::kRow, 4999 * sizeof(Value), a.data(), 0, b.data(), 0, 5000, 8, status) == 0);
  CHECK(status == kvBufferShort);
}

TEST_CASE_TEMPLATE_DEFINE("text, conversion and steps", M, textAndSteps) {
  using Value = typename M::Value;
  using Scalar = typename M::Scalar;
  Scalar seven{};
  KvString seventh("7");
  Types().ScanFromKvString(M::kScalarRow, &seven, seventh, nullptr, 1);

  CHECK(Printed<M>(Value()) == "{NULL}");
  CHECK(Printed<M>(Value(seven)) == "7");
  const unsigned short wideSeven[] = {'7', 0};
  const unsigned short wideNull[] = {'{', 'N', 'U', 'L', 'L', '}', 0};
  const std::pair<KvString, bool> texts[] = {{KvString("7"), true},
                                             {KvString(wideSeven), true},
                                             {KvString(""), false},
                                             {KvString("{NULL}"), false},
                                             {KvString("{NULL} and more"), false},
                                             {KvString(wideNull), false}};
  for (auto [text, present] : texts) {
    Value value = present ? Value() : Value(seven);
    CHECK(Types().ScanFromKvString(M::kRow, &value, text, nullptr, 1) == &value);
    CHECK((value == (present ? Value(seven) : Value())));
  }
  KvString text("7");
  CHECK(Types().ScanFromKvString(M::kRow, nullptr, text, nullptr, 1) == nullptr);

  Value run[2] = {Value(seven), Value()};
  KvTypeConvertData* record = Types().ConvertTo(M::kRow, run, 2);
  CHECK(std::string(record->GetString(1)->StrGet()) == "{NULL}");
  auto* back = static_cast<Value*>(Types().ConvertFrom(M::kRow, record, 3));
  CHECK(back[0] == run[0]);
  CHECK(back[1].IsNullValue());
  CHECK(back[2].IsNullValue());
  Types().Delete(M::kRow, back, 3);
  delete record;
  auto* initial = static_cast<Value*>(Types().DefaultValue(M::kRow, 1, 0));
  CHECK((initial->IsNullValue() && initial->value == Scalar{}));
  Types().Delete(M::kRow, initial, 1);

  Value stepped;
  Scalar next = seven;
  CHECK(Types().GetValue(M::kRow, &stepped, 0, 8, 'M') == 0);
  CHECK(stepped == Value(std::numeric_limits<Scalar>::lowest()));
  stepped = seven;
  CHECK(Types().GetValue(M::kRow, &stepped, 0, 8, 'N') == 0);
  Types().GetValue(M::kScalarRow, &next, 0, 8, 'N');
  CHECK(stepped == Value(next));
}

TEST_CASE_TEMPLATE_APPLY(storedForm, Members);
TEST_CASE_TEMPLATE_APPLY(orderAndHash, Members);
TEST_CASE_TEMPLATE_APPLY(textAndSteps, Members);
