// The scans of unit_scan.h, with each set of vectors, against loops over single units. Texts lie in
// blocks that end with the last unit that may be read.
#include <doctest/doctest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "kvstring/unit_scan.h"
#include "string/text.h"
#include "support/vector_sets.h"
#include "zinorder.h"

namespace {

// Bytes at any address, with none behind them.
class Block {
 public:
  Block(std::size_t shift, std::size_t size)
      : shift_(shift), bytes_(new unsigned char[shift + size]) {}
  unsigned char* Get() const { return bytes_.get() + shift_; }

 private:
  std::size_t shift_;
  std::unique_ptr<unsigned char[]> bytes_;
};

// Units that end no scan, and here and there one that does or nearly does.
template <class Unit>
std::vector<Unit> SomeUnits(Random& random, const kv::WantedUnits<Unit>& wanted) {
  std::vector<Unit> units(random(random(2) == 0 ? 100 : 1200));
  for (Unit& unit : units) unit = static_cast<Unit>(200 + random(56) + 256 * random(2));
  for (unsigned left = random(3); left != 0 && !units.empty(); --left) {
    const unsigned kind = wanted.units[0];
    const unsigned others[] = {0,   0,   wanted.units[3], kind, kind ^ 1, kind ^ 0x80, kind ^ 0x100,
                               511, 512, 0x8000};
    units[random(static_cast<unsigned>(units.size()))] = static_cast<Unit>(others[random(10)]);
  }
  return units;
}

template <class Unit>
void TryTexts() {
  constexpr bool kWide = sizeof(Unit) == 2;
  Random random(3);
  for (unsigned round = 0; round < 4000; ++round) {
    kv::WantedUnits<Unit> wanted;
    wanted.kinds = static_cast<unsigned char>(1u << random(3));
    for (unsigned i = 0; i < wanted.kinds; ++i) {
      wanted.units[i] = static_cast<Unit>(1 + random(199) + 256 * random(2));
    }
    const std::vector<Unit> units = SomeUnits(random, wanted);
    const auto count = static_cast<unsigned>(units.size());
    const Block text(random(80), count * sizeof(Unit)), copy(random(80), count * sizeof(Unit));
    if (count != 0) std::memcpy(text.Get(), units.data(), count * sizeof(Unit));
    const auto ends = [&](Unit unit) {
      return unit == 0 || unit > wanted.kLast || std::count(wanted.units, wanted.units + 4, unit);
    };
    const auto passed = std::find_if(units.begin(), units.end(), ends) - units.begin();
    const auto length =
        static_cast<std::size_t>(std::find(units.begin(), units.end(), Unit{0}) - units.begin());
    REQUIRE(kv::PassOver(text.Get(), count, wanted) == passed);
    REQUIRE(kv::PassToZero(text.Get(), kWide, count) == length);
    REQUIRE(kv::CopyToZero(copy.Get(), text.Get(), kWide, count) == length);
    REQUIRE(std::equal(text.Get(), text.Get() + length * sizeof(Unit), copy.Get()));
  }
}

}  // namespace

TEST_CASE("scans and copies end at the first unit that ends them, with all vectors") {
  support::WithEachVectorSet([] {
    TryTexts<unsigned char>();
    TryTexts<unsigned short>();
  });
}

TEST_CASE("of 128 words those of a weight are told, with all vectors") {
  support::WithEachVectorSet([] {
    Random random(4);
    for (unsigned round = 0; round < 2000; ++round) {
      const unsigned mask = round % 2 == 0 ? ~kv::kMarks : 0xFFFF0000;
      const unsigned pairMask = round % 3 == 0 ? 0x407C0000 : 0;
      const unsigned weight = (0x400C1000u + (random(3) << 18)) & mask;
      const Block block(0, 128 * sizeof(unsigned));
      auto* const words = reinterpret_cast<unsigned*>(block.Get());
      kv::WordBits expected = {};
      for (unsigned i = 0; i < 128; ++i) {
        const unsigned marks[] = {0, kv::kPairBit, kv::kPartMark, kv::kMarks & ~kv::kPartMark};
        words[i] = (0x400C1000u + (random(3) << 18) + random(2)) | marks[random(4)];
        const bool isSpecial = (words[i] & kv::kSpecialBits) != 0;
        const bool isHit =
            (words[i] & mask) == weight || (isSpecial && ((words[i] ^ weight) & pairMask) == 0);
        if (isHit) expected[i / 64] |= std::uint64_t{1} << i % 64;
      }
      struct {
        kv::WordBits bits = {1, 2};
        std::uint64_t behind = 3;
      } found;
      kv::WordsOfWeight(found.bits, words, mask, pairMask, weight);
      REQUIRE(found.bits[0] == expected[0]);
      REQUIRE(found.bits[1] == expected[1]);
      REQUIRE(found.behind == 3);
    }
  });
}
