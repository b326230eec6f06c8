// What the fuzzers found, each as the smallest input that showed it. Buffers are heap blocks of
// exactly their size: most of this only the address sanitizer sees.
#include <doctest/doctest.h>

#include <vector>

#include "kv.h"

TEST_CASE("a 16-bit text that is cut at the end of its buffer is read as empty") {
  const KvTypeMgr types;
  std::vector<unsigned char> cut{0x07, 0x00, 0xFD, 0x01};
  std::vector<unsigned char> other{0x05, 0x00, 0x01, 0x01, 'a', 0x00, 0xFF};
  for (const char id : {KvSTRING_T, KvISTRING_T, KvCASEISTRING_T}) {
    int status = 9;
    CHECK(types.Cmp(id, 4, cut.data(), 7, other.data(), 0, 1, 0, status) == -1);
    CHECK(status == kvOk);
    CHECK(types.Hash(id, 4, cut.data(), 1, 0, status) == 0);
  }
}
