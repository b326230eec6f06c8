// One value through the C interface beside the same call of the type manager in C++.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kv.h"
#include "kvc.h"
#include "pair.h"

namespace {

constexpr unsigned kValues = 1024;
constexpr double kAtMost13 = 1 / 1.3;  // of the time

// Stored values of one type, each compared with the next, hashed, or made a key.
struct Stored {
  std::vector<std::vector<unsigned char>> values;
  char id;
};

std::shared_ptr<Stored> TextsAsValues(char id, std::string (*text)(unsigned)) {
  auto stored = std::make_shared<Stored>();
  stored->id = id;
  for (unsigned i = 0; i <= kValues; ++i) {
    const std::string written = text(i * 2654435761U);
    std::vector<unsigned char> bytes(64);
    std::size_t size = 0;
    kvc_scan(id, nullptr, written.data(), written.size(), KVC_STORED, bytes.data(), bytes.size(),
             &size, nullptr);
    bytes.resize(size);
    stored->values.push_back(bytes);
  }
  return stored;
}

template <class Call>
auto ForEach(std::shared_ptr<Stored> stored, Call call) {
  return [stored, call] {
    unsigned sum = 0;
    for (unsigned i = 0; i < kValues; ++i) sum += call(stored->values[i], stored->values[i + 1]);
    benchmark::DoNotOptimize(sum);
  };
}

void RegisterType(const char* name, const std::shared_ptr<Stored>& stored) {
  using Bytes = std::vector<unsigned char>;
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const char id = stored->id;
  const auto length = [](const Bytes& bytes) { return static_cast<unsigned>(bytes.size()); };
  bench::Pair(
      std::string("kvc_compare of ") + name, "KvTypeMgr::Cmp", kAtMost13,
      ForEach(stored,
              [=](const Bytes& a, const Bytes& b) {
                std::int32_t order = 0;
                kvc_compare(id, KVC_EXACT, KVC_STORED, a.data(), a.size(), b.data(), b.size(), 1,
                            &order);
                return static_cast<unsigned>(order);
              }),
      ForEach(stored,
              [=, &types](const Bytes& a, const Bytes& b) {
                int status;
                return static_cast<unsigned>(types.Cmp(id, length(a), a.data(), length(b), b.data(),
                                                       kvCompareExact, 1, 0, status));
              }),
      kValues);
  bench::Pair(std::string("kvc_hash of ") + name, "KvTypeMgr::Hash", kAtMost13,
              ForEach(stored,
                      [=](const Bytes& a, const Bytes&) {
                        std::uint32_t hash = 0;
                        kvc_hash(id, KVC_STORED, a.data(), a.size(), 1, &hash);
                        return hash;
                      }),
              ForEach(stored,
                      [=, &types](const Bytes& a, const Bytes&) {
                        int status;
                        return types.Hash(id, length(a), a.data(), 1, 0, status);
                      }),
              kValues);
  bench::Pair(std::string("kvc_key of ") + name, "KvSortKey", kAtMost13,
              ForEach(stored,
                      [=](const Bytes& a, const Bytes&) {
                        const kvc_key_kind kind{sizeof kind, id, 0, KVC_EXACT, KVC_KEY_VERSION};
                        unsigned char key[128];
                        std::size_t size = 0;
                        kvc_key(&kind, KVC_STORED, a.data(), a.size(), key, sizeof key, &size);
                        return static_cast<unsigned>(key[size - 1]);
                      }),
              ForEach(stored,
                      [=](const Bytes& a, const Bytes&) {
                        unsigned char key[128];
                        std::size_t size = 0;
                        KvSortKey({.type = id}, a.data(), length(a), 0, key, sizeof key, size);
                        return static_cast<unsigned>(key[size - 1]);
                      }),
              kValues);
}

const bool registered = [] {
  RegisterType("o_4b", TextsAsValues(Kv4B_T, [](unsigned i) { return std::to_string(i >> 1); }));
  RegisterType("KvDate", TextsAsValues(KvDATE_T, [](unsigned i) {
                 return std::to_string(1000 + i % 1999) + "-02-" + std::to_string(10 + i % 19);
               }));
  RegisterType("KvString",
               TextsAsValues(KvSTRING_T, [](unsigned i) { return "name " + std::to_string(i); }));
  return true;
}();

}  // namespace
