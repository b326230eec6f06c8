// The plain scalar rows through KvTypeMgr, beside what the memory itself allows.

#include <cstring>
#include <memory>

#include "kv.h"
#include "pair.h"

namespace {

constexpr unsigned kSizes[] = {4096, 1048576};

// A run of `bytes` with the same content in two places.
struct Buffers {
  explicit Buffers(unsigned bytes) : a(bytes), b(bytes), out(bytes) {
    for (unsigned i = 0; i < bytes; ++i) a[i] = b[i] = static_cast<unsigned char>(i * 31 + i / 251);
  }
  std::vector<unsigned char> a;
  std::vector<unsigned char> b;
  std::vector<unsigned char> out;
};

struct ScalarCase {
  const char* name;
  char id;
  unsigned width;
};

constexpr ScalarCase kCases[] = {
    {"o_2b", Kv2B_T, 2}, {"o_4b", Kv4B_T, 4}, {"o_double", KvDOUBLE_T, 8}};

std::string Label(const char* operation, const ScalarCase& row, unsigned count) {
  return std::string(operation) + " " + row.name + " x " + std::to_string(count);
}

void RegisterRuns(const ScalarCase& row, unsigned count) {
  const unsigned bytes = count * row.width;
  auto buffers = std::make_shared<Buffers>(bytes);
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  const char id = row.id;
  const auto copy = [buffers, bytes] {
    std::memcpy(buffers->out.data(), buffers->a.data(), bytes);
    benchmark::ClobberMemory();
  };
  const auto store = [=](unsigned char format) {
    return [=] {
      benchmark::DoNotOptimize(
          types->Store(id, buffers->out.data(), buffers->a.data(), format, count));
      benchmark::ClobberMemory();
    };
  };
  const auto translate = [=](unsigned char from) {
    return [=] {
      benchmark::DoNotOptimize(types->Translate(id, buffers->out.data(), 8, bytes,
                                                buffers->a.data(), from, bytes, count));
      benchmark::ClobberMemory();
    };
  };
  const auto compare = [=](unsigned char format) {
    return [=] {
      benchmark::DoNotOptimize(
          types->Cmp(id, buffers->a.data(), buffers->b.data(), 0, count, format));
    };
  };
  const auto memoryCompare = [buffers, bytes] {
    benchmark::DoNotOptimize(std::memcmp(buffers->a.data(), buffers->b.data(), bytes));
    benchmark::ClobberMemory();
  };
  const auto load = [=](unsigned char format) {
    return [=] {
      benchmark::DoNotOptimize(
          types->Load(id, buffers->out.data(), buffers->a.data(), format, count));
      benchmark::ClobberMemory();
    };
  };
  const bool isNear = bytes <= 16384;  // both runs fit into the first cache
  const double reversed = isNear ? 0.95 : 0.5;
  const double equal = isNear ? 1.5 : 1;
  bench::Pair(Label("store", row, count), "memcpy", 0.9, store(1), copy);
  bench::Pair(Label("load", row, count), "memcpy", 0.9, load(1), copy);
  bench::Pair(Label("translate", row, count), "memcpy", 0.9, translate(1), copy);
  bench::Pair(Label("store reversed", row, count), "memcpy", reversed, store(2), copy);
  bench::Pair(Label("translate reversed", row, count), "memcpy", reversed, translate(2), copy);
  bench::Pair(Label("compare equal", row, count), "memcmp", equal, compare(8), memoryCompare);
  bench::Pair(Label("compare equal reversed", row, count), "memcmp", equal, compare(2),
              memoryCompare);
}

// What one would write for one element: a comparison function behind a pointer.
int PlainCompare(const void* a, const void* b) {
  const int left = *static_cast<const int*>(a);
  const int right = *static_cast<const int*>(b);
  return left < right ? -1 : left > right ? 1 : 0;
}

void RegisterProbe() {
  constexpr unsigned kProbes = 1024;
  auto values = std::make_shared<std::vector<int>>();
  for (unsigned i = 0; i < kProbes + 1; ++i) values->push_back(static_cast<int>(i * 2654435761u));
  KvTypeMgr* types = DefaultTypeMgr(nullptr);
  int (*volatile plain)(const void*, const void*) = PlainCompare;
  bench::Pair(
      "Cmp of one o_4b", "a function through a pointer", 1.0 / 3,
      [=] {
        int sum = 0;
        for (unsigned i = 0; i < kProbes; ++i) {
          sum += types->Cmp(Kv4B_T, &(*values)[i], &(*values)[i + 1], 0, 1, 8);
        }
        benchmark::DoNotOptimize(sum);
      },
      [=] {
        int sum = 0;
        for (unsigned i = 0; i < kProbes; ++i) sum += plain(&(*values)[i], &(*values)[i + 1]);
        benchmark::DoNotOptimize(sum);
      },
      kProbes);
}

const bool registered = [] {
  for (const unsigned count : kSizes) {
    for (const ScalarCase& row : kCases) RegisterRuns(row, count);
  }
  RegisterProbe();
  return true;
}();

}  // namespace
