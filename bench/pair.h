// A measured pair: one operation of this library and what one would use instead, registered side by
// side so that one interleaved run times both. bench/main.cpp prints the ratio.
//
//   const bench::Pair registered("hash of 2^20 o_4b", "plain XOR loop", 0.8,
//                                [] { ...; }, [] { ...; });
//
// The goal is the speed asked for: peer's time over ours, so 0.8 means "at 0.8 of the peer's speed
// or better" and 3 means "at least three times as fast". Each function runs the whole operation
// once; use benchmark::DoNotOptimize on what it computes. `items` divides the times shown, for
// functions that do several operations per call.
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace bench {

struct PairInfo {
  std::string operation;
  std::string peer;
  double goal;   // 0: nothing was asked for
  double items;  // operations per call
};

// All pairs in the order of registration.
std::vector<PairInfo>& Pairs();

class Pair {
 public:
  template <class Ours, class Theirs>
  Pair(std::string operation, std::string peer, double goal, Ours ours, Theirs theirs,
       double items = 1) {
    const std::string index = std::to_string(Pairs().size());
    Pairs().push_back({operation, peer, goal, items});
    const auto repeat = [](auto function) {
      return [function](benchmark::State& state) mutable {
        function();  // untimed: what is built on first use, and the caches, are not its cost
        for (auto _ : state) function();
      };
    };
    benchmark::RegisterBenchmark((operation + "/ours#" + index).c_str(), repeat(ours));
    benchmark::RegisterBenchmark((operation + "/peer#" + index).c_str(), repeat(theirs));
  }
};

}  // namespace bench
