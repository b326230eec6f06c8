// Runs of every fixed row between memory and stored form against the values one by one: runs go by
// vectors where a row has a map for them, single values never do.
#include <doctest/doctest.h>

#include <cstring>

#include "support/values_of.h"
#include "support/vector_sets.h"

namespace {

using support::Bytes;
using support::Types;

constexpr unsigned kMost = 150;  // values; runs of this many take every width of vectors
constexpr unsigned kCounts[] = {0, 1, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, kMost};
constexpr unsigned char kStoredForms[] = {0, 1, 2, 12, 10};

Bytes OneByOne(bool isStore, char id, const Bytes& from, unsigned fromWidth, unsigned toWidth,
               unsigned char format) {
  Bytes to(from.size() / fromWidth * toWidth);
  for (std::size_t i = 0; i * fromWidth < from.size(); ++i) {
    // Values lie as aligned as they must; the list of bytes they came in need not.
    alignas(16) unsigned char source[64] = {};
    alignas(16) unsigned char destination[64] = {};
    std::memcpy(source, from.data() + i * fromWidth, fromWidth);
    if (isStore) {
      Types().Store(id, destination, source, format, 1);
    } else {
      Types().Load(id, destination, source, format, 1);
    }
    std::memcpy(to.data() + i * toWidth, destination, toWidth);
  }
  return to;
}

}  // namespace

TEST_CASE("runs are stored and loaded as their values one by one are") {
  support::Source source(31);
  for (char id = 0; id < support::kRowCount; ++id) {
    if (Types().IsFixed(id) == 0) continue;
    const unsigned memory = Types().MemLenGet(id, 1);
    const unsigned stored = Types().DiskLenGet(id, nullptr, 0, 1, 0);
    for (const unsigned char format : kStoredForms) {
      const Bytes values = source.Noise(std::size_t{kMost} * stored);
      const Bytes loaded = OneByOne(false, id, values, stored, memory, format);
      const Bytes again = OneByOne(true, id, loaded, memory, stored, format);
      support::WithEachVectorSet([&] {
        for (const unsigned count : kCounts) {
          CAPTURE(int(id));
          CAPTURE(int(format));
          CAPTURE(count);
          const Bytes run(values.begin(), values.begin() + count * stored);
          Bytes there(count * memory, 0xA5);
          CHECK(Types().Load(id, there.data(), run.data(), format, count) == run.size());
          CHECK(std::equal(there.begin(), there.end(), loaded.begin()));
          Bytes back(run.size(), 0xA5);
          CHECK(Types().Store(id, back.data(), there.data(), format, count) == run.size());
          CHECK(std::equal(back.begin(), back.end(), again.begin()));
          Types().Store(id, there.data(), there.data(), format, count);  // in their place
          CHECK(std::equal(back.begin(), back.end(), there.begin()));
        }
      });
    }
  }
}
