// What checking costs: a checked load beside the load that trusts its bytes. A goal of 0.95 is at
// most 1.05 of the peer's time, one of 0.77 at most 1.3.
#include <memory>
#include <string>
#include <vector>

#include "kv.h"
#include "pair.h"

namespace {

struct Run {
  Run(char typeId, unsigned values) : id(typeId), count(values), memory(types.Create(id, count)) {}
  ~Run() { types.Delete(id, memory, count); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // The stored form of what is in memory.
  void Store(unsigned char format) {
    stored.resize(KvStoredSize(types, id, memory, count).bytes);
    KvStoreChecked(types, id, stored.data(), stored.size(), memory, format, count);
  }

  KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  char id;
  unsigned count;
  void* memory;
  std::vector<unsigned char> stored;
};

void RegisterLoad(const std::string& what, double goal, const std::shared_ptr<Run>& run,
                  unsigned char format) {
  run->Store(format);
  const bench::Pair registered(
      "checked load of " + what, "Load", goal,
      [run, format] {
        benchmark::DoNotOptimize(KvLoadChecked(run->types, run->id, run->memory, run->stored.data(),
                                               run->stored.size(), format, run->count));
      },
      [run, format] {
        benchmark::DoNotOptimize(
            run->types.Load(run->id, run->memory, run->stored.data(), format, run->count));
      });
}

bool Register() {
  RegisterLoad("1000 o_4b, reversed", 0.95, std::make_shared<Run>(Kv4B_T, 1000), 2);
  RegisterLoad("1000 KvDate", 0.95, std::make_shared<Run>(KvDATE_T, 1000), 0);
  RegisterLoad("4096 KvDate", 0.95, std::make_shared<Run>(KvDATE_T, 4096), 0);
  RegisterLoad("1000 KvDateTimeN", 0.95, std::make_shared<Run>(KvDATIME_N_T, 1000), 0);
  const auto strings = std::make_shared<Run>(KvSTRING_T, 1000);
  auto* texts = static_cast<KvString*>(strings->memory);
  for (unsigned i = 0; i < strings->count; ++i) {
    texts[i] = ("name " + std::to_string(i * 2654435761U)).c_str();
  }
  RegisterLoad("1000 KvString", 0.77, strings, 0);
  return true;
}

const bool registered = Register();

}  // namespace
