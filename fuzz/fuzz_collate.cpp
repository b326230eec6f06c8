// KvStrCmp, HashString and KvString::Find on arbitrary bytes in buffers of exactly their size: the
// address sanitizer sees any read outside. Comparison must be antisymmetric, the same in both byte
// orders of 16-bit text, and equal texts must hash equal.
#include <algorithm>
#include <cstdint>
#include <memory>

#include "kv.h"
#include "require.h"
#include "support/types.h"
#include "twins.h"

namespace {

// A terminated text on the heap, with no byte to spare.
class ExactText {
 public:
  ExactText(unsigned char codeSet, const Twins::Bytes& bytes)
      : width_(KvIsWideCodeSet(codeSet) ? 2 : 1),
        units_(bytes.size() / width_),
        bytes_(new char[(units_ + 1) * width_]()) {
    std::copy_n(bytes.begin(), units_ * width_, bytes_.get());
  }
  const char* Get() const { return bytes_.get(); }

  void Reverse() {
    if (width_ == 1) return;
    for (std::size_t i = 0; i < units_; ++i) std::swap(bytes_[2 * i], bytes_[2 * i + 1]);
  }

 private:
  std::size_t width_;
  std::size_t units_;
  std::unique_ptr<char[]> bytes_;
};

// Named by a control byte; off, so that comparison is an order.
void SetWildcards(std::uint8_t control) {
  const char asterisk = (control & 1) != 0 ? '*' : '\0';
  const char question = (control & 2) != 0 ? '?' : '\0';
  const char escape = (control & 4) != 0 ? '\\' : '\0';
  KvString::SetAsterisk(KvChar(asterisk, 1, 1));
  KvString::SetQuestion(KvChar(question, 1, 1));
  KvString::SetEscape(KvChar(escape, 1, 1));
}

struct Side {
  unsigned char codeSet;
  unsigned char language;
  ExactText text;
};

int Compare(const Side& a, const Side& b, unsigned short cmpOp, short maxLength,
            unsigned char byteOrder) {
  return KvStrCmp(a.codeSet, a.language, a.text.Get(), b.codeSet, b.language, b.text.Get(), cmpOp,
                  maxLength, byteOrder, nullptr);
}

bool IsNull(const Side& side) {
  return side.language == 254 || (side.codeSet == 254 && side.language == 0);
}

unsigned Hash(const Side& side) {
  return HashString(side.codeSet, side.language, side.text.Get(), -1, 1);
}

void CheckOrder(Side& a, Side& b, unsigned short cmpOp, short maxLength) {
  if (IsNull(a) || IsNull(b)) return;  // deliberately lopsided
  const int order = support::Sign(Compare(a, b, cmpOp, maxLength, 1));
  Require(order == -support::Sign(Compare(b, a, cmpOp, maxLength, 1)));
  const bool bytes = a.codeSet == 0 || b.codeSet == 0;
  // 255 is a 16-bit code set to KvStrCmp and the default 8-bit one to HashString.
  const bool marker = a.codeSet == 255 || b.codeSet == 255;
  if (order == 0 && cmpOp == 0 && maxLength == -1 && !bytes && !marker) Require(Hash(a) == Hash(b));
  a.text.Reverse();
  b.text.Reverse();
  Require(order == support::Sign(Compare(a, b, cmpOp, maxLength, 2)));
  a.text.Reverse();
  b.text.Reverse();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kControls = 10;
  if (size < kControls) return 0;
  const auto cmpOp = static_cast<unsigned short>(data[4] | data[5] << 8);
  const auto maxLength = static_cast<short>(data[6] < 200 ? -1 : data[6] - 200);
  const std::size_t left = size - kControls;
  const Twins texts(data + kControls, left, data[7] % (left + 1), (data[8] & 0x80) != 0);
  Side a{data[0], data[1], ExactText(data[0], texts.first)};
  Side b{data[2], data[3], ExactText(data[2], texts.second)};

  SetWildcards(0);
  CheckOrder(a, b, cmpOp, maxLength);

  SetWildcards(data[8]);
  Compare(a, b, cmpOp, maxLength, 1);
  const KvString text(a.text.Get(), 65535);
  const KvString pattern(b.text.Get(), 65535);
  const int found = text.Find(pattern, data[9], cmpOp);
  Require(found == -1 || (found >= data[9] && found <= static_cast<int>(text.Len())));
  return 0;
}
