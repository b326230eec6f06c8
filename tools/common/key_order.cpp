#include "key_order.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>

#include "parallel.h"

namespace {

constexpr unsigned char kMemoryForm = 8;
constexpr std::size_t kBlock = std::size_t{1} << 20;
constexpr std::size_t kWord = 8;
// Keys that agree so far (long texts, blobs) are compared whole from there on: the sort below calls
// itself for every word, and words of strangers could be as many as the stack has no room for.
constexpr std::size_t kDeepest = 64 * kWord;
// Buckets are told by this many bits. With fewer keys than that they are not worth their own pass.
constexpr unsigned kBucketBits = 16;
constexpr std::size_t kFewKeys = std::size_t{1} << 14;
// From so many entries on a byte of their words parts them faster than comparing does.
constexpr std::size_t kWorthDigits = 128;
// Pieces of work, many more than processors, as some take longer than others.
constexpr std::size_t kPieces = 64;
// Keys in order lie anywhere; those so many places ahead are fetched meanwhile.
constexpr std::size_t kAhead = 16;
constexpr std::size_t kLeftOut = std::numeric_limits<std::size_t>::max();

// Eight bytes of a key from `depth` on, the first of them highest, and zeros behind its end.
std::uint64_t WordOf(const unsigned char* key, std::size_t size, std::size_t depth) {
  if (depth >= size) return 0;
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < kWord; ++i) word = word << 8 | key[depth + i];
  const std::size_t left = size - depth;
  return left < kWord ? word & ~std::uint64_t{0} << 8 * (kWord - left) : word;
}

}  // namespace

std::span<unsigned char> KeyList::Room() const {
  if (blocks_.empty()) return {};
  const Block& last = blocks_.back();
  const std::size_t others = last.used + sizeof(Head) + kSpare;
  if (last.size <= others) return {};
  return {last.bytes.get() + last.used + sizeof(Head), last.size - others};
}

void KeyList::MakeRoom(std::size_t size) {
  const std::size_t wanted = std::max(kBlock, sizeof(Head) + size + kSpare);
  blocks_.push_back({std::make_unique_for_overwrite<unsigned char[]>(wanted), wanted, 0});
}

void KeyList::Keep(std::size_t number, std::size_t size) {
  Block& block = blocks_.back();
  const Head head{number, size};
  unsigned char* const at = block.bytes.get() + block.used;
  std::memcpy(at, &head, sizeof head);
  block.used += sizeof head + size;
  const std::uint64_t word = WordOf(at + sizeof head, size, 0);
  all_ &= word;
  any_ |= word;
  ++count_;
}

bool KeyList::Add(const KvSortKeyKind& kind, const void* value, std::size_t number) {
  for (;;) {
    const std::span<unsigned char> room = Room();
    std::size_t size = 0;
    const int status = KvSortKey(kind, value, 0, kMemoryForm, room.data(), room.size(), size);
    if (status == kvOk) {
      Keep(number, size);
      return true;
    }
    if (status != kvBufferShort) return false;
    MakeRoom(size);
  }
}

void KeyList::Add(std::span<const unsigned char> key, std::size_t number) {
  if (Room().size() < key.size() || blocks_.empty()) MakeRoom(key.size());
  std::copy(key.begin(), key.end(), Room().begin());
  Keep(number, key.size());
}

// The places of keys, sorted bucket by bucket: keys of a bucket have the same first bits.
class KeyTable {
 public:
  KeyTable(std::span<const KeyList> lists, KeyOrder how)
      : unique_(how.unique), turned_(how.reverse ? ~std::uint64_t{0} : 0) {
    std::uint64_t all = ~std::uint64_t{0};
    std::uint64_t any = 0;
    std::size_t count = 0;
    for (const KeyList& list : lists) {
      all &= list.all_;
      any |= list.any_;
      count += list.count_;
    }
    entries_.resize(count);
    skipped_ = static_cast<std::size_t>(std::countl_zero(all ^ any)) / 8 % kWord;
    Distribute(lists, count < kFewKeys ? 0 : kBucketBits);
  }

  std::vector<std::size_t> Sorted(const std::function<void(std::size_t)>& report) {
    std::vector<std::size_t> numbers(entries_.size());
    const std::vector<std::size_t> pieces = Pieces();
    const auto sort = [&](std::size_t piece, unsigned) {
      for (std::size_t bucket = pieces[piece]; bucket < pieces[piece + 1]; ++bucket) {
        SortBucket(begins_[bucket], begins_[bucket + 1], numbers);
      }
    };
    const std::size_t each = entries_.size() / (pieces.size() - 1);
    ForEachItem(pieces.size() - 1, sort, [&](std::size_t done) { report(done * each); });
    if (unique_) std::erase(numbers, kLeftOut);
    return numbers;
  }

 private:
  struct Entry {
    std::uint64_t word;
    const unsigned char* key;
  };
  using Entries = std::span<Entry>;

  static KeyList::Head HeadOf(const unsigned char* key) {
    KeyList::Head head;
    std::memcpy(&head, key - sizeof head, sizeof head);
    return head;
  }

  std::uint64_t TurnedWord(const unsigned char* key, std::size_t depth) const {
    return WordOf(key, HeadOf(key).size, depth) ^ turned_;
  }

  // Calls take(entry) for each key.
  template <class Take>
  void ForEachKey(std::span<const KeyList> lists, Take take) const {
    for (const KeyList& list : lists) {
      for (const KeyList::Block& block : list.blocks_) {
        const unsigned char* at = block.bytes.get();
        const unsigned char* const end = at + block.used;
        while (at != end) {
          const unsigned char* const key = at + sizeof(KeyList::Head);
          take(Entry{TurnedWord(key, skipped_), key});
          at = key + HeadOf(key).size;
        }
      }
    }
  }

  // Puts every key into its bucket.
  void Distribute(std::span<const KeyList> lists, unsigned bits) {
    begins_.assign((std::size_t{1} << bits) + 1, 0);
    const auto bucketOf = [bits](const Entry& entry) {
      return bits == 0 ? 0 : static_cast<std::size_t>(entry.word >> (64 - bits));
    };
    ForEachKey(lists, [&](const Entry& entry) { ++begins_[bucketOf(entry) + 1]; });
    std::partial_sum(begins_.begin(), begins_.end(), begins_.begin());
    std::vector<std::size_t> next = begins_;
    ForEachKey(lists, [&](const Entry& entry) { entries_[next[bucketOf(entry)]++] = entry; });
  }

  // Where pieces of the work begin, in buckets, and the end of the last.
  std::vector<std::size_t> Pieces() const {
    std::vector<std::size_t> pieces{0};
    for (std::size_t bucket = 1; bucket + 1 < begins_.size(); ++bucket) {
      const std::size_t keys = begins_[bucket] - begins_[pieces.back()];
      if (keys > entries_.size() / kPieces) pieces.push_back(bucket);
    }
    pieces.push_back(begins_.size() - 1);
    return pieces;
  }

  void SortBucket(std::size_t begin, std::size_t end, std::vector<std::size_t>& numbers) {
    const Entries bucket = Entries(entries_).subspan(begin, end - begin);
    SortWords(bucket, skipped_);
    for (auto entry = bucket.begin(); entry != bucket.end(); ++entry) {
      FetchAhead(bucket, entry);
      numbers[begin++] = entry->key == nullptr ? kLeftOut : HeadOf(entry->key).number;
    }
  }

  static void FetchAhead(Entries entries, Entries::iterator present) {
    const auto left = static_cast<std::size_t>(entries.end() - present);
    if (left > kAhead) __builtin_prefetch(present[kAhead].key);
  }

  // Sorts entries whose words differ in these bits: many by the highest byte that has one of them,
  // and then the entries of each byte.
  static void SortDigits(Entries entries, std::uint64_t differing) {
    if (entries.size() < kWorthDigits || differing == 0) {
      std::sort(entries.begin(), entries.end(),
                [](const Entry& a, const Entry& b) { return a.word < b.word; });
      return;
    }
    const int shift = (63 - std::countl_zero(differing)) / 8 * 8;
    const auto digit = [shift](const Entry& entry) {
      return static_cast<std::size_t>(entry.word >> shift & 0xFF);
    };
    std::array<std::size_t, 257> begins{};
    for (const Entry& entry : entries) ++begins[digit(entry) + 1];
    std::partial_sum(begins.begin(), begins.end(), begins.begin());
    auto next = begins;
    const std::vector<Entry> given(entries.begin(), entries.end());
    for (const Entry& entry : given) entries[next[digit(entry)]++] = entry;
    const std::uint64_t below = differing & ((std::uint64_t{1} << shift) - 1);
    for (std::size_t i = 0; i < 256; ++i) {
      SortDigits(entries.subspan(begins[i], begins[i + 1] - begins[i]), below);
    }
  }

  // Sorts keys that agree in their first `depth` bytes and have the next ones as words.
  void SortWords(Entries entries, std::size_t depth) {
    std::uint64_t differing = 0;
    for (const Entry& entry : entries) differing |= entry.word ^ entries.front().word;
    SortDigits(entries, differing);
    for (auto begin = entries.begin(); begin != entries.end();) {
      FetchAhead(entries, begin);
      const auto end = std::find_if(begin + 1, entries.end(), [begin](const Entry& entry) {
        return entry.word != begin->word;
      });
      if (end - begin > 1) SortAlike({begin, end}, depth + kWord);
      begin = end;
    }
  }

  // Where keys agree, none of them ends before the others do.
  void SortAlike(Entries entries, std::size_t depth) {
    if (depth >= HeadOf(entries.front().key).size) {
      SortEqual(entries);
    } else if (depth < kDeepest) {
      for (Entry& entry : entries) entry.word = TurnedWord(entry.key, depth);
      SortWords(entries, depth);
    } else {
      SortWhole(entries);
    }
  }

  void SortEqual(Entries entries) const {
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
      return HeadOf(a.key).number < HeadOf(b.key).number;
    });
    if (!unique_) return;
    for (Entry& entry : entries.subspan(1)) entry.key = nullptr;
  }

  void SortWhole(Entries entries) const {
    std::sort(entries.begin(), entries.end(), [this](const Entry& a, const Entry& b) {
      const int order = OrderOf(a.key, b.key);
      return order != 0 ? order < 0 : HeadOf(a.key).number < HeadOf(b.key).number;
    });
    if (!unique_) return;
    for (std::size_t i = entries.size() - 1; i != 0; --i) {
      if (OrderOf(entries[i - 1].key, entries[i].key) == 0) entries[i].key = nullptr;
    }
  }

  int OrderOf(const unsigned char* a, const unsigned char* b) const {
    const int order = std::memcmp(a, b, std::min(HeadOf(a).size, HeadOf(b).size));
    return turned_ == 0 ? order : -order;
  }

  bool unique_;
  std::uint64_t turned_;
  std::size_t skipped_;  // bytes that all keys begin with
  std::vector<Entry> entries_;
  std::vector<std::size_t> begins_;  // of buckets, and the end of the last
};

std::vector<std::size_t> OrderOfKeys(std::span<const KeyList> lists, KeyOrder how,
                                     const std::function<void(std::size_t)>& report) {
  return KeyTable(lists, how).Sorted(report);
}
