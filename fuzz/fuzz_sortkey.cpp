// Sort keys of arbitrary stored values, against the row's comparer; and arbitrary bytes into every
// reader of keys. Input: type id, options, compare bits, then two values of half the rest each.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "kv.h"
#include "require.h"
#include "support/types.h"
#include "twins.h"

namespace {

using support::Sign;
using Bytes = std::vector<unsigned char>;

KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

// The key; false when the value has none.
bool MakeKey(const KvSortKeyKind& kind, const Bytes& stored, unsigned char format, Bytes& key) {
  std::size_t size = 0;
  const auto length = static_cast<unsigned>(stored.size());
  int status = KvSortKey(kind, stored.data(), length, format, nullptr, 0, size);
  if (status != kvBufferShort && status != kvOk) return false;
  Require(size <= KvSortKeyBound(kind, stored.size()));
  key.resize(size);
  status = KvSortKey(kind, stored.data(), length, format, key.data(), size, size);
  Require(status == kvOk && size == key.size());
  // With room to spare, where other ways are taken.
  Bytes roomy(KvSortKeyBound(kind, stored.size()) + 16, 0xEE);
  Require(KvSortKey(kind, stored.data(), length, format, roomy.data(), roomy.size(), size) == kvOk);
  Require(size == key.size() && std::equal(key.begin(), key.end(), roomy.begin()));
  return true;
}

void CompareKeys(const KvSortKeyKind& kind, Bytes a, Bytes b, unsigned char format) {
  if (a.empty() || b.empty()) return;  // a length of 0 would mean that they are trusted
  Bytes keyA, keyB;
  if (!MakeKey(kind, a, format, keyA) || !MakeKey(kind, b, format, keyB)) return;
  int status = 0;
  const int order = support::Sign(Types().Cmp(kind.type, static_cast<unsigned>(a.size()), a.data(),
                                              static_cast<unsigned>(b.size()), b.data(), kind.cmpOp,
                                              1, format, status));
  Require(status == kvOk);
  const std::size_t shared = std::min(keyA.size(), keyB.size());
  const int found = shared != 0 ? support::Sign(std::memcmp(keyA.data(), keyB.data(), shared)) : 0;
  Require(found != 0 || keyA.size() == keyB.size());
  if ((kind.options & (kvSortKeyNullsFirst | kvSortKeyNullsLast)) != 0) return;
  Require(found == ((kind.options & kvSortKeyDescending) != 0 ? -order : order));
}

// The keys of values of one width as a run, which is made by vectors, against those of each value;
// stored and in memory, in buffers of just their size.
void RunOfKeys(const KvSortKeyKind& kind, const Bytes& rest, unsigned char format) {
  if (Types().IsFixed(kind.type) == 0) return;
  const std::size_t width = Types().DiskLenGet(kind.type, nullptr, format, 1, 0);
  if (width == 0) return;  // the illegal row
  const auto count = static_cast<unsigned>(rest.size() / width);
  if (count == 0) return;
  const Bytes stored(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(count * width));
  Bytes expected;
  for (unsigned i = 0; i < count; ++i) {
    unsigned char key[32];
    std::size_t size = 0;
    Require(KvSortKey(kind, &stored[i * width], static_cast<unsigned>(width), format, key,
                      sizeof key, size) == kvOk);
    expected.insert(expected.end(), key, key + size);
  }
  void* const values = Types().Create(kind.type, count);
  Types().Load(kind.type, values, stored.data(), format, count);
  const auto* const bytes = static_cast<const unsigned char*>(values);
  const Bytes memory(bytes, bytes + std::size_t{Types().MemLenGet(kind.type, 1)} * count);
  Types().Delete(kind.type, values, count);
  for (const bool inMemory : {false, true}) {
    Bytes keys(expected.size());
    std::size_t size = 0;
    Require(KvSortKeyRun(kind, inMemory ? memory.data() : stored.data(), 0, inMemory ? 8 : format,
                         count, keys.data(), keys.size(), nullptr, size) == kvOk);
    Require(keys == expected);
  }
}

void ReadKey(const KvSortKeyKind& kind, const Bytes& bytes) {
  std::size_t size = 0;
  std::size_t count = 0;
  const int length = KvSortKeyLength(kind, bytes.data(), bytes.size(), size);
  KvSortKeyPiece pieces[8];
  Require(KvSortKeyPieces(kind, bytes.data(), bytes.size(), pieces, 8, count) == length);
  void* const value = Types().Create(kind.type, 1);
  const int status = KvSortKeyValue(kind, bytes.data(), bytes.size(), value, size);
  Require(length == kvOk || status != kvOk);
  if (status == kvOk && kind.type != KvRES_T) {
    Bytes again(size);
    std::size_t written = 0;
    Require(KvSortKey(kind, value, 0, 8, again.data(), size, written) == kvOk);
    Require(written == size && std::equal(again.begin(), again.end(), bytes.begin()));
  }
  Types().Delete(kind.type, value, 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  KvSortKeyKind kind;
  kind.type = static_cast<char>(data[0] % (KvRES_T + 1));
  kind.options = data[1] & 0x0F;
  kind.cmpOp =
      static_cast<unsigned short>(kvCompareExact | (data[2] & 0x07) << 5 | (data[2] & 0x08) << 6);
  if (KvSortKeyCheck(kind) != kvOk) return 0;
  const Bytes rest(data + 3, data + size);
  const bool alike = (data[2] & 0x40) != 0;
  const std::size_t changes = std::min<std::size_t>(rest.size(), 3);
  const Twins values(rest.data(), rest.size(), rest.size() - (alike ? changes : rest.size() / 2),
                     alike);
  const unsigned char format = (data[2] & 0x80) != 0 ? 2 : 0;
  ReadKey(kind, rest);
  RunOfKeys(kind, rest, format);
  CompareKeys(kind, values.first, values.second, format);
  return 0;
}
