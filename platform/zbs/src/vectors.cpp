// Which vector instructions the library uses: what the processor has, up to a limit.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "zbsvectors.h"

namespace kv {

constinit std::atomic<unsigned char> vectorSetInUse{0};

namespace {

VectorSet WidestOfProcessor() {
#if defined(__x86_64__) || defined(__i386__)
  const bool hasAvx512 = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
  if (hasAvx512 && __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2")) {
    return VectorSet::kVbmi2;
  }
  if (hasAvx512) return VectorSet::kAvx512;
  if (__builtin_cpu_supports("avx2")) return VectorSet::kAvx2;
  if (__builtin_cpu_supports("ssse3")) return VectorSet::kSsse3;
#endif
  return VectorSet::kPlain;
}

VectorSet LimitOfEnvironment() {
  constexpr const char* kNames[] = {"plain", "ssse3", "avx2", "avx512", "vbmi2"};
  const char* wanted = std::getenv("KV_VECTORS");
  if (wanted == nullptr) return VectorSet::kWidest;
  const auto* name = std::find_if(std::begin(kNames), std::end(kNames), [wanted](const char* each) {
    return std::strcmp(each, wanted) == 0;
  });
  if (name == std::end(kNames)) return VectorSet::kWidest;
  return static_cast<VectorSet>(name - std::begin(kNames));
}

}  // namespace

VectorSet LimitVectors(VectorSet limit) {
  const VectorSet before = Vectors();
  const VectorSet set = std::min(limit, WidestOfProcessor());
  vectorSetInUse.store(static_cast<unsigned char>(static_cast<unsigned char>(set) + 1),
                       std::memory_order_relaxed);
  return before;
}

// Threads that ask at the same time find the same.
VectorSet FindVectorSet() {
  const VectorSet set = std::min(LimitOfEnvironment(), WidestOfProcessor());
  unsigned char unknown = 0;
  vectorSetInUse.compare_exchange_strong(
      unknown, static_cast<unsigned char>(static_cast<unsigned char>(set) + 1),
      std::memory_order_relaxed);
  return static_cast<VectorSet>(vectorSetInUse.load(std::memory_order_relaxed) - 1);
}

}  // namespace kv
