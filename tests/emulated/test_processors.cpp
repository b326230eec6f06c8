// Which vectors a processor is given, asked of processors that lack this and that.
#include <doctest/doctest.h>

#include <cstdlib>

#include "zbsvectors.h"

TEST_CASE("a set of vectors is used where the processor has every part of it") {
  using Set = kv::VectorSet;
  static constexpr struct {
    const char* lacking;  // as ProcessorHas reads it
    Set widest;
  } kProcessors[] = {{"", Set::kVbmi2},
                     {"avx512vbmi2", Set::kAvx512},
                     {"avx512vbmi", Set::kAvx512},
                     {"avx512vl", Set::kAvx2},
                     {"avx512bw", Set::kAvx2},
                     {"avx512bw avx2", Set::kSsse3},
                     {"avx512bw avx2 ssse3", Set::kPlain}};
  for (const auto& processor : kProcessors) {
    CAPTURE(processor.lacking);
    setenv("KV_LACKS", processor.lacking, 1);
    kv::LimitVectors(Set::kWidest);
    CHECK(kv::Vectors() == processor.widest);
  }
}
