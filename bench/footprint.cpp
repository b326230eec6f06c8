// kv_footprint: what the first comparisons of a process cost in pages of memory. A page counts when
// it is touched for the first time; the system brings in neighbours of a file's page with it.
#include <sys/resource.h>

#include <cstdio>

#include "kv.h"

namespace {

long PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt + usage.ru_majflt;
}

// The faults of one operation.
template <class Operation>
long FaultsOf(Operation operation) {
  const long before = PageFaults();
  operation();
  return PageFaults() - before;
}

volatile int order;

}  // namespace

int main() {
  // What asking costs is paid before.
  FaultsOf([] {});
  const KvTypeMgr* types = nullptr;
  const long finding = FaultsOf([&] { types = DefaultTypeMgr(nullptr); });
  const o_4b number = 1;
  const o_4b other = 2;
  const long first = FaultsOf([&] { order = types->Cmp(Kv4B_T, &number, &other, 0, 1, 8); });
  const KvString word("donaudampfschiff");
  const KvString otherWord("donaudampfschiffe");
  const long collating =
      FaultsOf([&] { order = types->Cmp(KvSTRING_T, &word, &otherWord, 0, 1, 8); });
  std::printf(
      "page faults: %ld to find the type manager, %ld in the first Cmp of o_4b, %ld in the "
      "first Cmp of KvString\n",
      finding, first, collating);
  return 0;
}
