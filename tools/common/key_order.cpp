#include "key_order.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

constexpr std::size_t kWord = 8;
// Keys that agree so far (long texts, blobs) are compared whole from there on: the sort below calls
// itself for every word, and words of strangers could be as many as the stack has no room for.
constexpr std::size_t kDeepest = 64 * kWord;

struct Entry {
  std::uint64_t word;
  unsigned key;
};

class KeySorter {
 public:
  KeySorter(const unsigned char* keys, const std::vector<std::size_t>& offsets, bool reverse)
      : keys_(keys), offsets_(offsets), turned_(reverse ? ~std::uint64_t{0} : 0) {}

  // Sorts keys that agree in their first `depth` bytes.
  void Sort(std::span<Entry> entries, std::size_t depth) const {
    for (Entry& entry : entries) entry.word = WordOf(entry.key, depth) ^ turned_;
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.word < b.word; });
    for (auto begin = entries.begin(); begin != entries.end();) {
      const auto end = std::find_if(begin + 1, entries.end(), [begin](const Entry& entry) {
        return entry.word != begin->word;
      });
      if (end - begin > 1) SortAlike({begin, end}, depth + kWord);
      begin = end;
    }
  }

 private:
  std::size_t SizeOf(unsigned key) const { return offsets_[key + std::size_t{1}] - offsets_[key]; }

  // Where keys agree, none of them ends before the others do.
  void SortAlike(std::span<Entry> entries, std::size_t depth) const {
    if (depth >= SizeOf(entries[0].key)) {
      std::sort(entries.begin(), entries.end(),
                [](const Entry& a, const Entry& b) { return a.key < b.key; });
    } else if (depth < kDeepest) {
      Sort(entries, depth);
    } else {
      std::sort(entries.begin(), entries.end(), [this](const Entry& a, const Entry& b) {
        const int order = OrderOf(a.key, b.key);
        return order != 0 ? order < 0 : a.key < b.key;
      });
    }
  }

  int OrderOf(unsigned a, unsigned b) const {
    const int order =
        std::memcmp(keys_ + offsets_[a], keys_ + offsets_[b], std::min(SizeOf(a), SizeOf(b)));
    return turned_ == 0 ? order : -order;
  }

  // The first of its bytes highest, and zeros behind the end.
  std::uint64_t WordOf(unsigned key, std::size_t depth) const {
    const unsigned char* const bytes = keys_ + offsets_[key] + depth;
    const std::size_t left = SizeOf(key) - depth;
    std::uint64_t word = 0;
    if (left >= kWord) {
      for (std::size_t i = 0; i < kWord; ++i) word = word << 8 | bytes[i];
      return word;
    }
    for (std::size_t i = 0; i < left; ++i) word |= std::uint64_t{bytes[i]} << (56 - 8 * i);
    return word;
  }

  const unsigned char* keys_;
  const std::vector<std::size_t>& offsets_;
  std::uint64_t turned_;
};

}  // namespace

std::vector<unsigned> OrderOfKeys(const unsigned char* keys,
                                  const std::vector<std::size_t>& offsets, bool reverse) {
  const std::size_t count = offsets.empty() ? 0 : offsets.size() - 1;
  std::vector<Entry> entries(count);
  for (std::size_t i = 0; i < count; ++i) entries[i].key = static_cast<unsigned>(i);
  KeySorter(keys, offsets, reverse).Sort(entries, 0);
  std::vector<unsigned> order(count);
  std::transform(entries.begin(), entries.end(), order.begin(),
                 [](const Entry& entry) { return entry.key; });
  return order;
}
