// Stored forms of the plain scalars. A stored value is its bytes from the least significant up, or
// from the most significant down when the byte-order code (the low four bits of the format) is 2:
//
//   o_4b 0x01020304    code 1: 04 03 02 01    code 2: 01 02 03 04
//
// Stored data depends on this layout; it never changes.

#include "byteswap.h"
#include "zbs.h"
#include "zbshost.h"

namespace {

template <class Word>
unsigned StoreRun(void* destination, const void* source, unsigned char format, unsigned count) {
  const std::size_t bytes = std::size_t{count} * sizeof(Word);
  if (bytes == 0) return 0;
  if (kv::IsSwapped(format)) {
    kv::CopyReversed<Word>(destination, source, count);
  } else if (destination != source) {
    kv::CopyBytes(destination, source, bytes);
  }
  return static_cast<unsigned>(bytes);
}

template <class Word>
unsigned StoreOne(void* destination, const void* source, unsigned char format) {
  Word word;
  std::memcpy(&word, source, sizeof(Word));
  if (kv::IsSwapped(format)) word = kv::Reverse(word);
  std::memcpy(destination, &word, sizeof(Word));
  return sizeof(Word);
}

}  // namespace

unsigned CharStore(void* destination, const void* source, unsigned char, unsigned count) {
  if (destination != source) kv::CopyBytes(destination, source, count);
  return count;
}

unsigned ShortStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint16_t>(destination, source, format, count);
}

unsigned LongStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned IntStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned UnsignedStore(void* destination, const void* source, unsigned char format,
                       unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned FloatStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned DoubleStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint64_t>(destination, source, format, count);
}

unsigned O_8BStore(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint64_t>(destination, source, format, count);
}

unsigned IntLoad(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned UnsignedLoad(void* destination, const void* source, unsigned char format, unsigned count) {
  return StoreRun<std::uint32_t>(destination, source, format, count);
}

unsigned ShortStoreOne(void* destination, const void* source, unsigned char format) {
  return StoreOne<std::uint16_t>(destination, source, format);
}

unsigned LongStoreOne(void* destination, const void* source, unsigned char format) {
  return StoreOne<std::uint32_t>(destination, source, format);
}

unsigned O_8BStoreOne(void* destination, const void* source, unsigned char format) {
  return StoreOne<std::uint64_t>(destination, source, format);
}

unsigned CharSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return count;
}
unsigned ShortSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 2 * count;
}
unsigned LongSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 4 * count;
}
unsigned IntSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 4 * count;
}
unsigned FloatSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 4 * count;
}
unsigned DoubleSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 8 * count;
}
unsigned O_8BSizeGet(const void*, unsigned char, unsigned char, unsigned count) {
  return 8 * count;
}

unsigned CharNullSizeGet(unsigned count) {
  return count;
}
unsigned ShortNullSizeGet(unsigned count) {
  return 2 * count;
}
unsigned LongNullSizeGet(unsigned count) {
  return 4 * count;
}
unsigned IntNullSizeGet(unsigned count) {
  return 4 * count;
}
unsigned FloatNullSizeGet(unsigned count) {
  return 4 * count;
}
unsigned DoubleNullSizeGet(unsigned count) {
  return 8 * count;
}
unsigned O_8BNullSizeGet(unsigned count) {
  return 8 * count;
}
