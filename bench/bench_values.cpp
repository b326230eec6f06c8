// KvInt64 beside native 64-bit arithmetic, blobs beside memcmp, nullable rows beside the rows of
// their scalars.

#include <cstring>
#include <memory>
#include <random>

#include "kv.h"
#include "pair.h"

namespace {

constexpr unsigned kOperands = 1024;

// Operands as a program meets them: magnitudes of every size, divisors never 0.
template <class Number>
std::vector<Number> Operands(unsigned seed) {
  std::mt19937_64 random(seed);
  std::vector<Number> numbers;
  for (unsigned i = 0; i < kOperands; ++i) {
    numbers.push_back(static_cast<o_8b>(random() | 1) >> (random() % 63) | 1);
  }
  return numbers;
}

// One operation over all operands; the results are stored, so that none is optimised away.
template <class Number, class Operation>
auto Over(Operation operation) {
  return [operation, a = Operands<Number>(1), b = Operands<Number>(2),
          out = std::vector<decltype(operation(Number(), Number()))>(kOperands)]() mutable {
    // In registers: a vector's pointer would be read anew after each result that might lie on it.
    const Number* left = a.data();
    const Number* right = b.data();
    auto* results = out.data();
    for (unsigned i = 0; i < kOperands; ++i) results[i] = operation(left[i], right[i]);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  };
}

template <class Operation>
void RegisterArithmetic(const char* name, double goal, Operation operation) {
  bench::Pair(std::string("KvInt64 ") + name, "native o_8b", goal, Over<KvInt64>(operation),
              Over<o_8b>(operation), kOperands);
}

void RegisterBlobs() {
  const std::vector<unsigned char> content(1 << 20, 0x5A);
  struct Blobs {
    KvBlob a, b;
    std::vector<unsigned char> stored[2];
  };
  auto blobs = std::make_shared<Blobs>();
  blobs->a.SetTo(content.data(), 1 << 20);
  blobs->b.SetTo(content.data(), 1 << 20);
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  for (auto& stored : blobs->stored) {
    stored.resize((1 << 20) + 8);
    types->Store(KvBLOB_T, stored.data(), &blobs->a, 2, 1);
  }
  const auto memory = [blobs] {
    benchmark::DoNotOptimize(
        std::memcmp(blobs->a.Seek(0, 1 << 20), blobs->b.Seek(0, 1 << 20), 1 << 20));
  };
  bench::Pair(
      "compare equal KvBlob of 2^20 bytes", "memcmp", 0.8,
      [=] { benchmark::DoNotOptimize(types->Cmp(KvBLOB_T, &blobs->a, &blobs->b, 0, 1, 8)); },
      memory);
  bench::Pair(
      "compare equal stored KvBlob of 2^20 bytes", "memcmp", 0.8,
      [=] {
        benchmark::DoNotOptimize(
            types->Cmp(KvBLOB_T, blobs->stored[0].data(), blobs->stored[1].data(), 0, 1, 2));
      },
      memory);
  bench::Pair(
      "hash KvBlob of 2^20 bytes", "9 h + byte, byte by byte", 0,
      [=] {
        int status;
        benchmark::DoNotOptimize(types->Hash(KvBLOB_T, 0, &blobs->a, 1, 8, status));
      },
      [=] {
        const unsigned char* bytes = blobs->a.Seek(0, 1 << 20);
        unsigned hash = 0;
        for (unsigned i = 0; i < 1 << 20; ++i) hash = 9 * hash + bytes[i];
        benchmark::DoNotOptimize(hash);
      });
}

// What a row's hash is made of, for the scalars measured here.
template <class Scalar>
o_u8b KeyOf(const Scalar& value) {
  o_u8b key = 0;
  std::memcpy(&key, &value, sizeof value);
  return sizeof value == 8 ? key ^ key >> 32 : key;
}

// Equal runs of a nullable row and of its scalar's row, the same values in both.
template <class Nullable>
void RegisterNullable(const char* name, char row, char scalarRow, unsigned count) {
  using Scalar = decltype(Nullable().value);
  struct Runs {
    std::vector<Nullable> a, b;
    std::vector<Scalar> scalarA, scalarB;
  };
  auto runs = std::make_shared<Runs>();
  std::mt19937_64 random(1);
  for (unsigned i = 0; i < count; ++i) {
    runs->scalarA.push_back(static_cast<Scalar>(static_cast<int>(random())));
    runs->a.push_back(i % 16 == 0 ? Nullable() : Nullable(runs->scalarA.back()));
  }
  runs->b = runs->a;
  runs->scalarB = runs->scalarA;
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  const std::string label = std::string(name) + " x " + std::to_string(count);
  const auto compare = [=] {
    benchmark::DoNotOptimize(types->Cmp(row, runs->a.data(), runs->b.data(), 0, count, 8));
  };
  const auto hash = [=] {
    int status;
    benchmark::DoNotOptimize(types->Hash(row, 0, runs->a.data(), count, 8, status));
  };
  bench::Pair("compare " + label, "its scalar's row", 0.5, compare, [=] {
    benchmark::DoNotOptimize(
        types->Cmp(scalarRow, runs->scalarA.data(), runs->scalarB.data(), 0, count, 8));
  });
  bench::Pair("hash " + label, "its scalar's row", 0.5, hash, [=] {
    int status;
    benchmark::DoNotOptimize(types->Hash(scalarRow, 0, runs->scalarA.data(), count, 8, status));
  });
  // What the two can be at best: all the bytes, flags and padding with them, and a product each.
  bench::Pair("compare " + label, "memcmp of its bytes", 0, compare, [=] {
    benchmark::DoNotOptimize(std::memcmp(runs->a.data(), runs->b.data(), count * sizeof(Nullable)));
  });
  bench::Pair("hash " + label, "plain loop, a product each", 0, hash, [=] {
    unsigned products = 0;
    for (const Nullable& value : runs->a) {
      if (!value.IsNullValue()) products ^= static_cast<unsigned>(KeyOf(value.value)) * 1103515245u;
    }
    benchmark::DoNotOptimize(products);
  });
}

const bool registered = [] {
  RegisterArithmetic("+", 0.5, [](auto a, auto b) { return a + b; });
  RegisterArithmetic("-", 0.5, [](auto a, auto b) { return a - b; });
  RegisterArithmetic("<", 0.5, [](auto a, auto b) { return static_cast<char>(a < b); });
  RegisterArithmetic("*", 0, [](auto a, auto b) { return a * b; });
  RegisterArithmetic("/", 0, [](auto a, auto b) { return a / b; });
  RegisterArithmetic("%", 0, [](auto a, auto b) { return a % b; });
  RegisterBlobs();
  for (const unsigned count : {1024u, 4096u, 1048576u}) {
    RegisterNullable<KvNull_char>("KvNull_char", KvNULL_1B_T, Kv1B_T, count);
    RegisterNullable<KvNull_short>("KvNull_short", KvNULL_2B_T, Kv2B_T, count);
    RegisterNullable<KvNull_int>("KvNull_int", KvNULL_INT_T, KvINT_T, count);
    RegisterNullable<KvNull_double>("KvNull_double", KvNULL_DOUBLE_T, KvDOUBLE_T, count);
    RegisterNullable<KvNull_KvInt64>("KvNull_KvInt64", KvNULL_KVINT64_T, KvINT64_T, count);
  }
  return true;
}();

}  // namespace
