// Letters that contract, against the plain walk: what comparing, hashing and searching say of two
// texts must follow from the orders that KvStringIterator yields one by one, in both widths and
// byte orders. Texts lie in buffers of exactly their size, with halves of contractions at their
// ends; stored ones may be cut short as well.
//
// Bytes: language; options: 1 for code set 254, 2 for twins, from 4 on how much of the stored texts
// is cut; length of the first text; then letters, by number in a short alphabet, or 16-bit orders.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

#include "kv.h"
#include "require.h"
#include "support/letters.h"
#include "support/types.h"
#include "twins.h"

namespace {

using Units = std::u16string;
using namespace support;

// Those with contractions come first.
constexpr unsigned char kLanguages[] = {8, 9, 13, 14, 16, 17, 1,  2,  3, 4,
                                        5, 6, 7,  10, 11, 12, 15, 18, 19};
constexpr unsigned short kLetters[] = {'s', 'z', 'S',   'Z',   'c', 'C', 'h', 'H',
                                       'd', 'D', 0x17E, 0x17D, 'g', 'y', 'Y', 'l',
                                       'L', 'j', 'n',   'N',   't', 'a', 'A', 0xE1};
constexpr unsigned char kEastLatin = 7;
constexpr unsigned char kMemoryOrder = 0;
constexpr unsigned char kReversed = 2;

// A stored text in a block of its very size, or of `cut` bytes less than that.
struct Stored {
  Stored(const KvString& text, unsigned char format, unsigned cut) {
    const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
    std::vector<unsigned char> whole(text.GetBufferSize() + 8u);
    size = types.Store(KvSTRING_T, whole.data(), &text, format, 1);
    size -= std::min(cut, size);
    bytes = std::make_unique<unsigned char[]>(size);
    std::copy_n(whole.begin(), size, bytes.get());
  }
  unsigned size;
  std::unique_ptr<unsigned char[]> bytes;
};

// What is cut has no order that was promised, but the same one from both sides.
void TryStored(const Units& a, const Units& b, unsigned char language, unsigned cut, int expected) {
  constexpr unsigned short strict = 0x10;
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  for (const unsigned char codeSet : {kEastLatin, kvCodeSetUnicode}) {
    const KvString textA = StringOf(a, codeSet, language);
    const KvString textB = StringOf(b, codeSet, language);
    for (const unsigned char format : {kMemoryOrder, kReversed}) {
      for (const auto& [cutA, cutB] : {std::pair(0u, 0u), std::pair(cut, 0u), std::pair(0u, cut)}) {
        const Stored left(textA, format, cutA);
        const Stored right(textB, format, cutB);
        if (left.size == 0 || right.size == 0) continue;
        int status = 0;
        int back = 0;
        const int order = Sign(types.Cmp(KvSTRING_T, left.size, left.bytes.get(), right.size,
                                         right.bytes.get(), strict, 1, format, status));
        const int reverse = Sign(types.Cmp(KvSTRING_T, right.size, right.bytes.get(), left.size,
                                           left.bytes.get(), strict, 1, format, back));
        if (status == kvOk && back == kvOk) Require(order == -reverse);
        if (cutA + cutB == 0 && expected != 0) Require(order == expected);
      }
    }
  }
}

void TryLetters(const Units& a, const Units& b, unsigned char language, unsigned cut) {
  const Orders ordersA = OrdersOf(Form(a, 253, false), language);
  const int expected = CompareOrders(ordersA, OrdersOf(Form(b, 253, false), language));
  const unsigned hash = HashOfOrders(ordersA);
  for (const unsigned char codeSet : {kEastLatin, kvCodeSetUnicode}) {
    for (const bool reversed : {false, true}) {
      if (reversed && codeSet == kEastLatin) continue;
      const Form formA(a, codeSet, reversed);
      const Form formB(b, codeSet, reversed);
      Require(OrdersOf(formA, language) == ordersA);
      Require(Sign(KvStrCmp(codeSet, language, formA.Get(), codeSet, language, formB.Get(), 0, -1,
                            formA.ByteOrder(), nullptr)) == expected);
      Require(HashString(codeSet, language, formA.Get(), -1, formA.ByteOrder()) == hash);
    }
  }
  TryStored(a, b, language, cut, expected);
}

void TrySearch(const Units& text, const Units& pattern, unsigned char language) {
  if (text.empty() || pattern.empty()) return;
  const int expected = FindPlainly(text, pattern, language, 0);
  for (const unsigned char codeSet : {kEastLatin, kvCodeSetUnicode}) {
    const KvString in = StringOf(text, codeSet, language);
    Require(in.Find(StringOf(pattern, kvCodeSetUnicode, language), 0, 0) == expected);
    Require(in.Find(StringOf(pattern, codeSet, language), 0, 0) == expected);
  }
}

// Texts of any orders are taken as they are.
void TryOrders(const Units& a, const Units& b, unsigned char language) {
  const Form formA(a, 254, false);
  const Form formB(b, 254, false);
  const int order =
      Sign(KvStrCmp(254, language, formA.Get(), 254, language, formB.Get(), 0, -1, 1, nullptr));
  Require(order == -Sign(KvStrCmp(254, language, formB.Get(), 254, language, formA.Get(), 0, -1, 1,
                                  nullptr)));
  const bool sameHash = HashString(254, language, formA.Get(), -1, 1) ==
                        HashString(254, language, formB.Get(), -1, 1);
  Require(order != 0 || sameHash);
}

// Letters by number, or orders.
Units UnitsOf(const Twins::Bytes& bytes, bool asOrders) {
  Units units;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (!asOrders) {
      units.push_back(kLetters[bytes[i] % std::size(kLetters)]);
    } else if (i + 1 < bytes.size() && (bytes[i] | bytes[i + 1]) != 0) {
      units.push_back(static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8));
      ++i;
    }
  }
  return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3 || size > 400) return 0;
  const unsigned char language = kLanguages[data[0] % std::size(kLanguages)];
  const bool asOrders = (data[1] & 1) != 0;
  const Twins texts(data + 3, size - 3, data[2] % (size - 2), (data[1] & 2) != 0);
  const Units a = UnitsOf(texts.first, asOrders);
  const Units b = UnitsOf(texts.second, asOrders);
  if (asOrders) {
    TryOrders(a, b, language);
    return 0;
  }
  TryLetters(a, b, language, data[1] / 4u);
  TrySearch(a, b, language);
  return 0;
}
