// The exported functions of kvsortkey.h: which kinds there are, room, and the two ways in which a
// key is turned (descending, the place of null). What a key consists of is the rows' affair.
#include "kvsortkey.h"

#include <algorithm>
#include <limits>

#include "kvstring/text_key.h"
#include "kvtypes/catalogue.h"
#include "kvtypevl/operations/sort_key.h"

namespace kv {
namespace {

constexpr unsigned char kOptions =
    kvSortKeyDescending | kvSortKeyNullsLast | kvSortKeyNullsFirst | kvSortKeyPlainBytes;
constexpr unsigned char kNullPlaces = kvSortKeyNullsLast | kvSortKeyNullsFirst;
constexpr unsigned short kTextBits =
    kvCompareIgnoreCase | kvCompareIgnoreAccents | kvCompareIgnoreVariants | kvCompareSkipSpaces;

bool IsDescending(const KvSortKeyKind& kind) {
  return (kind.options & kvSortKeyDescending) != 0;
}

// Whether null is behind all values before the key is complemented.
bool NullsHigh(const KvSortKeyKind& kind) {
  return (kind.options & (IsDescending(kind) ? kvSortKeyNullsFirst : kvSortKeyNullsLast)) != 0;
}

// An id that has a row, the illegal one included.
bool HasRow(char id) {
  return id >= 0 && (id >= 100 || id < kRowCount);
}

bool AreOptions(unsigned char options) {
  return (options & ~kOptions) == 0 && (options & kNullPlaces) != kNullPlaces;
}

// Nobody exchanged the row's comparer.
bool HasOwnOrder(unsigned row) {
  return currentCatalogue[row]->compare == ownCompare[row];
}

int CheckKind(const KvSortKeyKind& kind) {
  if (!HasRow(kind.type) || kind.version != kvSortKeyVersion || !AreOptions(kind.options)) {
    return kvBadArgument;
  }
  const int row = RowOf(kind.type);
  if (row == KvSTRING_T) {
    if ((kind.cmpOp & ~(kvCompareExact | kvCompareKeyOrder | kTextBits)) != 0) return kvBadArgument;
    if ((kind.cmpOp & kvCompareExact) == 0) return kvBadArgument;
    if ((kind.cmpOp & kvCompareKeyOrder) != 0) return kvNotSupported;
  }
  return HasOwnOrder(static_cast<unsigned>(row)) ? kvOk : kvNotSupported;
}

// Where one key of a kind is made; null where nothing tells so at a glance. Other compare bits than
// those of texts are not looked at.
const OneKey* OneKeyOf(const KvSortKeyKind& kind) {
  const auto row = static_cast<unsigned char>(kind.type);
  const bool isSound = row < sortKeyRows.size() && kind.version == kvSortKeyVersion &&
                       AreOptions(kind.options) && HasOwnOrder(row);
  return isSound ? &sortKeyRows[row]->one : nullptr;
}

std::size_t Saturated(o_u8b size) {
  constexpr o_u8b kLargest = std::numeric_limits<std::size_t>::max();
  return static_cast<std::size_t>(std::min(size, kLargest));
}

// A call of its own: keys are ascending as a rule, and one key is made without a loop.
[[gnu::noinline]] void Complement(unsigned char* bytes, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
}

KeyedRun RunOf(const KvSortKeyKind& kind, const void* values, unsigned length, unsigned char format,
               unsigned count) {
  const auto row = static_cast<unsigned>(RowOf(kind.type));
  return {.values = values,
          .length = length,
          .format = Format{format},
          .count = count,
          .cmpOp = kind.cmpOp,
          .plainBytes = (kind.options & kvSortKeyPlainBytes) != 0,
          .nullsHigh = NullsHigh(kind),
          .load = currentCatalogue[row]->load};
}

// The room that the keys of a run take at most, exactly when that is more than there is.
int CheckRun(const SortKeyHandlers& handlers, const KeyedRun& run, std::size_t capacity,
             std::size_t& size) {
  o_u8b bytes = 0;
  const int status = handlers.check(run, bytes);
  if (status != kvOk) return status;
  if (handlers.bound(bytes, run.count) <= capacity) return kvOk;
  const o_u8b exact = handlers.measure(run);
  if (exact <= capacity) return kvOk;
  size = Saturated(exact);
  return kvBufferShort;
}

}  // namespace
}  // namespace kv

int KvSortKeyCheck(const KvSortKeyKind& kind) {
  return kv::CheckKind(kind);
}

std::size_t KvSortKeyBound(const KvSortKeyKind& kind, std::size_t bytes, unsigned count) {
  const kv::SortKeyHandlers* handlers = nullptr;
  if (kv::CheckKind(kind) == kvOk) handlers = kv::SortKeysOf(kv::RowOf(kind.type));
  return handlers != nullptr ? kv::Saturated(handlers->bound(bytes, count)) : 0;
}

int KvSortKey(const KvSortKeyKind& kind, const void* value, unsigned length, unsigned char format,
              void* key, std::size_t capacity, std::size_t& size) {
  // A lookup makes one key: what a run is asked takes longer than the key of a number.
  const kv::OneKey* const one = kv::OneKeyOf(kind);
  if (one == nullptr || !one->Takes(length, kv::Format{format}, capacity)) {
    return KvSortKeyRun(kind, value, length, format, 1, key, capacity, nullptr, size);
  }
  size = one->write(static_cast<const unsigned char*>(value), kv::Format{format},
                    kv::NullsHigh(kind), static_cast<unsigned char*>(key));
  if (kv::IsDescending(kind)) kv::Complement(static_cast<unsigned char*>(key), size);
  return kvOk;
}

int KvSortKeyRun(const KvSortKeyKind& kind, const void* values, unsigned length,
                 unsigned char format, unsigned count, void* keys, std::size_t capacity,
                 std::size_t* offsets, std::size_t& size) {
  size = 0;
  int status = kv::CheckKind(kind);
  if (status != kvOk) return status;
  const kv::SortKeyHandlers* const handlers = kv::SortKeysOf(kv::RowOf(kind.type));
  if (handlers == nullptr || count == 0) {
    if (offsets != nullptr) std::fill_n(offsets, std::size_t{count} + 1, 0);
    return kvOk;
  }
  kv::KeyedRun run = kv::RunOf(kind, values, length, format, count);
  run.capacity = capacity;
  status = kv::CheckRun(*handlers, run, capacity, size);
  if (status != kvOk) return status;
  auto* const bytes = static_cast<unsigned char*>(keys);
  size = handlers->write(run, bytes, offsets);
  if (kv::IsDescending(kind)) kv::Complement(bytes, size);
  return kvOk;
}

int KvSortKeyLength(const KvSortKeyKind& kind, const void* key, std::size_t length,
                    std::size_t& size) {
  return KvSortKeyValue(kind, key, length, nullptr, size);
}

int KvSortKeyValue(const KvSortKeyKind& kind, const void* key, std::size_t length, void* value,
                   std::size_t& size) {
  size = 0;
  int status = kv::CheckKind(kind);
  const kv::SortKeyHandlers* const handlers =
      status == kvOk ? kv::SortKeysOf(kv::RowOf(kind.type)) : nullptr;
  if (handlers == nullptr) return status;
  kv::KeySource source(static_cast<const unsigned char*>(key), length, kv::IsDescending(kind));
  status = handlers->read(source, kind, kv::NullsHigh(kind), value);
  if (status == kvOk) size = source.Taken();
  return status;
}

namespace kv {
namespace {

// Pieces into the caller's array, as far as it reaches.
struct PieceList {
  KvSortKeyPiece* pieces;
  std::size_t capacity;
  std::size_t& count;

  void Add(const KvSortKeyPiece& piece) {
    if (count < capacity) pieces[count] = piece;
    ++count;
  }
  static void Take(void* list, const KvSortKeyPiece& piece) {
    static_cast<PieceList*>(list)->Add(piece);
  }
};

// Bytes behind the content of a row whose keys are not all of one width.
std::size_t EndWidth(int row) {
  return row == KvBLOB_T ? 2 : row == KvISTRING_T || row == KvCASEISTRING_T || row == KvSTRING_T;
}

// The pieces of a whole key of `size` bytes.
void AddPieces(const KvSortKeyKind& kind, KeySource source, std::size_t size, PieceList& list) {
  const int row = RowOf(kind.type);
  if (SortKeysOf(row)->width != 0) return list.Add({kvKeyValue, 0, 0, 0, size});
  unsigned char lead = 0;
  source.Take(lead);
  if (lead != 0x01) return list.Add({kvKeyNull, 0, 0, 0, 1});
  list.Add({kvKeyPresent, 0, 0, 0, 1});
  if (row == KvSTRING_T && (kind.options & kvSortKeyPlainBytes) == 0) {
    ReadTextKeyPieces(source, kind.cmpOp, &list, PieceList::Take);
    return;
  }
  const std::size_t end = EndWidth(row);
  list.Add({kvKeyValue, 0, 0, 1, size - end - 1});
  if (end != 0) list.Add({kvKeyEnd, 0, 0, size - end, end});
}

}  // namespace
}  // namespace kv

int KvSortKeyPieces(const KvSortKeyKind& kind, const void* key, std::size_t length,
                    KvSortKeyPiece* pieces, std::size_t capacity, std::size_t& count) {
  count = 0;
  std::size_t size = 0;
  const int status = KvSortKeyLength(kind, key, length, size);
  if (status != kvOk || size == 0) return status;
  kv::PieceList list{pieces, capacity, count};
  const kv::KeySource source(static_cast<const unsigned char*>(key), size, kv::IsDescending(kind));
  kv::AddPieces(kind, source, size, list);
  return kvOk;
}

void KvSortKeyPrefixEnd(const void* prefix, std::size_t length, void* end, std::size_t& size) {
  const auto* from = static_cast<const unsigned char*>(prefix);
  while (length != 0 && from[length - 1] == 0xFF) --length;
  size = length;
  if (length == 0) return;
  auto* const to = static_cast<unsigned char*>(end);
  std::memmove(to, from, length);
  ++to[length - 1];
}

int KvSortKeyRange(const KvSortKeyKind& kind, unsigned char range, const void* value,
                   unsigned length, unsigned char format, std::size_t capacity, void* lower,
                   std::size_t& lowerSize, void* upper, std::size_t& upperSize) {
  lowerSize = upperSize = 0;
  int status = kv::CheckKind(kind);
  if (status != kvOk) return status;
  if (range > kvSortKeySameBase) return kvBadArgument;
  const kv::SortKeyHandlers* const handlers = kv::SortKeysOf(kv::RowOf(kind.type));
  if (handlers == nullptr || handlers->writeBeginning == nullptr) return kvNotSupported;
  const kv::KeyedRun run = kv::RunOf(kind, value, length, format, 1);
  status = kv::CheckRun(*handlers, run, capacity, lowerSize);
  if (status != kvOk) {
    upperSize = lowerSize;
    return status;
  }
  auto* const bytes = static_cast<unsigned char*>(lower);
  const auto write =
      range == kvSortKeyBeginning ? handlers->writeBeginning : handlers->writeSameBase;
  lowerSize = write(run, bytes);
  if (kv::IsDescending(kind)) kv::Complement(bytes, lowerSize);
  KvSortKeyPrefixEnd(bytes, lowerSize, upper, upperSize);
  return kvOk;
}

// ---------------------------------------------------------------------------------------------

int KvSortKeyWriter::Add(const KvSortKeyKind& kind, const void* value, unsigned length,
                         unsigned char format) {
  if (status_ != kvOk && status_ != kvBufferShort) return status_;
  const std::size_t left = status_ == kvOk ? capacity_ - size_ : 0;
  std::size_t size;
  const int status = KvSortKey(kind, value, length, format,
                               status_ == kvOk ? buffer_ + size_ : nullptr, left, size);
  size_ += size;
  if (status != kvOk) status_ = status;
  return status;
}

int KvSortKeyWriter::AddBytes(const void* bytes, std::size_t length) {
  if (status_ != kvOk && status_ != kvBufferShort) return status_;
  if (status_ == kvOk && length > capacity_ - size_) status_ = kvBufferShort;
  if (status_ == kvOk && length != 0) std::memcpy(buffer_ + size_, bytes, length);
  size_ += length;
  return status_;
}

void KvSortKeyWriter::Reset(std::size_t size) {
  size_ = std::min({size, size_, capacity_});
  status_ = kvOk;
}

int KvSortKeyReader::Next(const KvSortKeyKind& kind, void* value) {
  std::size_t size;
  const int status = KvSortKeyValue(kind, at_, left_, value, size);
  at_ += size;
  left_ -= size;
  return status;
}

int KvSortKeyReader::Skip(const KvSortKeyKind& kind, const void** part, std::size_t* length) {
  const unsigned char* const begin = at_;
  const int status = Next(kind, nullptr);
  if (status != kvOk) return status;
  if (part != nullptr) *part = begin;
  if (length != nullptr) *length = static_cast<std::size_t>(at_ - begin);
  return kvOk;
}
