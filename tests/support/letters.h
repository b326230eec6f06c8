// Texts of letters that contract, in each of their forms, and what comparing and searching must say
// of them: plain walks over the orders that KvStringIterator yields one by one.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kv.h"

namespace support {

// A terminated text in a block of its very size; `reversed` is the other way round than in memory.
class Form {
 public:
  Form(const std::u16string& text, unsigned char codeSet, bool reversed = false)
      : codeSet_(codeSet), byteOrder_(reversed ? 2 : 1) {
    const std::size_t width = KvIsWideCodeSet(codeSet) ? 2 : 1;
    bytes_ = std::make_unique<char[]>((text.size() + 1) * width);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const unsigned short narrow = KvCodeSet(codeSet).FromUnicode(text[i]);
      if (width == 1) {
        bytes_[i] = static_cast<char>(narrow);
      } else {
        std::memcpy(&bytes_[2 * i], &text[i], 2);
      }
      if (reversed && width == 2) std::swap(bytes_[2 * i], bytes_[2 * i + 1]);
    }
  }
  const char* Get() const { return bytes_.get(); }
  unsigned char CodeSet() const { return codeSet_; }
  unsigned char ByteOrder() const { return byteOrder_; }

 private:
  unsigned char codeSet_;
  unsigned char byteOrder_;
  std::unique_ptr<char[]> bytes_;
};

struct Order {
  unsigned order;
  bool last;  // of its character or run of characters

  bool operator==(const Order&) const = default;
};
using Orders = std::vector<Order>;

inline Orders OrdersOf(const Form& form, unsigned char language) {
  Orders orders;
  KvStringIterator each(form.Get(), form.CodeSet(), language, form.ByteOrder());
  while (!each.IsEOS()) {
    const KvStringIterator before(each);
    const unsigned order = each.GetNextOrder(0);
    orders.push_back({order, !(each == before)});
  }
  return orders;
}

// Level by level, each over the whole text.
inline int CompareOrders(const Orders& a, const Orders& b) {
  for (const unsigned bits : {0x407Fu, 0x0F80u, 0x3000u}) {
    const auto less = [bits](const Order& x, const Order& y) {
      return (x.order & bits) < (y.order & bits);
    };
    if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), less)) return -1;
    if (std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end(), less)) return 1;
  }
  return 0;
}

inline unsigned HashOfOrders(const Orders& orders) {
  unsigned hash = 0;
  for (const Order& each : orders) {
    hash = hash * 9 + (1u << 24 | (each.order & 0x407F) << 8 | (each.order >> 7 & 0x7F));
  }
  return hash;
}

// Tries every position. An order takes eight units at most, so no more are looked at.
inline int FindPlainly(const std::u16string& text, const std::u16string& pattern,
                       unsigned char language, unsigned cmpOp) {
  unsigned mask = 0xFFFF;
  if ((cmpOp & kvCompareKeyOrder) == 0) {
    if ((cmpOp & kvCompareIgnoreCase) != 0) mask &= ~0x3000u;
    if ((cmpOp & kvCompareIgnoreAccents) != 0) mask &= ~0x0F80u;
  }
  const Orders wanted = OrdersOf(Form(pattern, kvCodeSetUnicode), language);
  const bool whole = (cmpOp & (kvCompareExact | kvCompareKeyOrder)) != 0;
  for (std::size_t at = 0; at + pattern.size() <= text.size(); ++at) {
    const std::u16string here = text.substr(at, 8 * (wanted.size() + 1));
    const Orders found = OrdersOf(Form(here, kvCodeSetUnicode), language);
    if (found.size() < wanted.size()) continue;
    const bool same = std::equal(
        wanted.begin(), wanted.end(), found.begin(),
        [mask](const Order& a, const Order& b) { return ((a.order ^ b.order) & mask) == 0; });
    const bool ends = wanted.empty() || found[wanted.size() - 1].last;
    if (same && (ends || !whole)) return static_cast<int>(at);
  }
  return -1;
}

inline KvString StringOf(const std::u16string& text, unsigned char codeSet,
                         unsigned char language) {
  KvString string(reinterpret_cast<const unsigned short*>(text.c_str()));
  string.SetLanguage(language);
  string.MapToCodeSet(codeSet);
  return string;
}

}  // namespace support
