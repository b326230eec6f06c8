// The allocator of this test program fails on demand. It stands in front of the C library's, for
// the libraries under test as well, so what they allocate is counted and the n-th request can be
// refused.
//
//   faults::ForEachAllocation("storing", [](faults::Fault& fault) {
//     ...                                    // set up, with all the memory there is
//     fault.In([&] { types.Store(...); });   // here the n-th allocation fails
//     ...                                    // check
//   });
//
// The step is run with n = 0 (nothing fails), then 1, 2, 3, ... until it asks for fewer than n.
// Each time every block must be freed again, and where one was refused the low-memory handler must
// have been called.
#pragma once

#include <doctest/doctest.h>

#include <cstdlib>
#include <string>

#include "kv.h"

namespace faults {

// False in sanitizer builds, whose own allocator must stay in front; nothing ever fails then.
bool AreInjected();

// Blocks allocated and not freed, in the whole process.
long LiveBlocks();

// What the last refused request asked for.
std::size_t RefusedSize();

class Fault {
 public:
  explicit Fault(unsigned number) : number_(number) {}

  // Runs a part of the step in which allocations are counted and the n-th is refused.
  template <class Part>
  void In(const Part& part) {
    Arm();
    part();
    Disarm();
  }

  // Whether an allocation was refused.
  bool Struck() const { return struck_; }

 private:
  void Arm();
  void Disarm();

  unsigned number_;
  bool struck_ = false;
};

inline unsigned handlerCalls = 0;

template <class Step>
void ForEachAllocation(const char* name, const Step& step) {
  const std::string label(name);
  CAPTURE(label);
  // With a zone named, reading the clock takes no memory of the C library's own.
  setenv("TZ", "UTC0", 1);
  const KvMemoryHandler before = KvSetMemoryHandler([](unsigned size) {
    ++handlerCalls;
    const std::size_t more = RefusedSize() - size;  // before an array stands its count
    CHECK((more == 0 || more == sizeof more || more == 8));
  });
  bool struck = true;
  for (unsigned number = 0; struck && number < 1000; ++number) {
    CAPTURE(number);
    handlerCalls = 0;
    Fault fault(number);
    const long blocks = LiveBlocks();
    step(fault);
    const long left = LiveBlocks() - blocks;
    // The first run may fill what the C library keeps for good.
    if (number != 0) CHECK(left == 0);
    struck = number == 0 ? AreInjected() : fault.Struck();
    CHECK((handlerCalls > 0) == fault.Struck());
  }
  CHECK(!struck);
  KvSetMemoryHandler(before);
}

}  // namespace faults
