// Store, load and sizes of the rows whose stored width is fixed, over a codec; translate of all.
#pragma once

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "kvbase/codec.h"
#include "kvbase/form_run.h"
#include "kvtypemgr.h"
#include "zbs.h"

namespace kv {

// The values at the front of a run that vectors move; 0 for codecs that are no list of members.
template <class Codec, Direction direction>
unsigned MoveLeading([[maybe_unused]] void* destination, [[maybe_unused]] const void* source,
                     [[maybe_unused]] bool reversed, [[maybe_unused]] unsigned count) {
  if constexpr (requires { Codec::ForEachMember([](auto) {}); }) {
    return MoveLeadingValues<Codec, direction>(static_cast<unsigned char*>(destination),
                                               static_cast<const unsigned char*>(source), reversed,
                                               count);
  } else {
    return 0;
  }
}

// A form that needs no change. The base library knows how runs that lie in the caches are copied
// best; its counts have 32 bits, and longer ones have more.
inline void CopyForm(void* destination, const void* source, std::size_t bytes) {
  constexpr std::size_t kRun = 512;
  constexpr std::size_t kCached = std::size_t{1} << 19;
  if (bytes < kRun || bytes >= kCached) {
    std::memcpy(destination, source, bytes);
  } else {
    CharStore(destination, source, kAsInMemory, static_cast<unsigned>(bytes));
  }
}

// Memory form to stored form: bytes written. A count of 0 writes nothing.
template <class Codec>
unsigned StoreRun(void* destination, const void* source, unsigned char format, unsigned count) {
  const bool reversed = Format{format}.IsReversed();
  const std::size_t bytes = std::size_t{count} * Codec::kStoredWidth;
  if (bytes == 0) return 0;
  if (Codec::HasSameLayout(reversed)) {
    CopyForm(destination, source, bytes);
    return static_cast<unsigned>(bytes);
  }
  const auto* values = static_cast<const typename Codec::Value*>(source);
  auto* const stored = static_cast<unsigned char*>(destination);
  unsigned i = MoveLeading<Codec, Direction::kStore>(destination, source, reversed, count);
  for (; i < count; ++i) {
    Codec::Store(stored + std::size_t{i} * Codec::kStoredWidth, values[i], reversed);
  }
  return static_cast<unsigned>(bytes);
}

// Stored form to memory form: bytes read. What the stored form leaves out becomes 0, padding too,
// so that what a value holds does not depend on how many were loaded.
template <class Codec>
unsigned LoadRun(void* destination, const void* source, unsigned char format, unsigned count) {
  const bool reversed = Format{format}.IsReversed();
  const std::size_t bytes = std::size_t{count} * Codec::kStoredWidth;
  if (bytes == 0) return 0;
  if (Codec::HasSameLayout(reversed)) {
    CopyForm(destination, source, bytes);
    return static_cast<unsigned>(bytes);
  }
  const auto* const stored = static_cast<const unsigned char*>(source);
  auto* values = static_cast<typename Codec::Value*>(destination);
  unsigned i = MoveLeading<Codec, Direction::kLoad>(destination, source, reversed, count);
  for (; i < count; ++i) {
    Codec::LoadWhole(values[i], stored + std::size_t{i} * Codec::kStoredWidth, reversed);
  }
  return static_cast<unsigned>(bytes);
}

template <unsigned width>
unsigned NullSizeOf(unsigned count) {
  return count * width;
}

template <unsigned width>
unsigned SizeOf(const void* /*stored*/, unsigned char /*extra*/, unsigned char /*format*/,
                unsigned count) {
  return count * width;
}

template <unsigned width>
unsigned MemFileSizeOf(MemFile* /*file*/, unsigned char /*format*/, unsigned count) {
  return count * width;
}

// Stored to stored does not convert: it copies what both lengths hold, after clearing a longer
// destination, and leaves the byte order as it is: records are moved this way.
inline unsigned CopyStored(void* destination, unsigned destinationLength, const void* source,
                           unsigned sourceLength, unsigned count) {
  if (count == 0) return 0;
  const unsigned copied = std::min(destinationLength, sourceLength);
  if (copied < destinationLength) std::memset(destination, 0, destinationLength);
  if (copied != 0) std::memmove(destination, source, copied);
  return copied;
}

// Memory form to memory form: values that own memory are assigned, others are moved as bytes.
template <class Value>
unsigned CopyValues(void* destination, const void* source, unsigned count) {
  const std::size_t bytes = std::size_t{count} * sizeof(Value);
  if constexpr (std::is_trivially_copyable_v<Value>) {
    if (bytes != 0) std::memmove(destination, source, bytes);
  } else {
    std::copy_n(static_cast<const Value*>(source), count, static_cast<Value*>(destination));
  }
  return static_cast<unsigned>(bytes);
}

// Translate of a row over its own store and load functions. The byte order is that of the stored
// side.
template <KvStoreFunc store, KvLoadFunc load, class Value>
unsigned TranslateRun(void* destination, unsigned char destinationFormat,
                      unsigned destinationLength, const void* source, unsigned char sourceFormat,
                      unsigned sourceLength, unsigned count) {
  const bool fromMemory = Format{sourceFormat}.HasMemoryBit();
  if (Format{destinationFormat}.HasMemoryBit()) {
    return fromMemory ? CopyValues<Value>(destination, source, count)
                      : load(destination, source, sourceFormat, count);
  }
  if (fromMemory) {
    const auto byteOrder = static_cast<unsigned char>(destinationFormat & 0x0F);
    return store(destination, source, byteOrder, count);
  }
  return CopyStored(destination, destinationLength, source, sourceLength, count);
}

}  // namespace kv
