// Keys of a run by vectors of 64 bytes, whose bytes go wherever a key has them, on processors that
// move and compress bytes so (VectorSet::kVbmi2). kvbase/key_run.h draws the maps.
#pragma once

#include <cstddef>

#include "kvbase/key_run.h"

namespace kv {

// Writes the keys of so many vectors of values and returns their end. Each vector is written whole:
// up to one of them is written over behind the end.
using VectorWriter = unsigned char* (*)(unsigned char* keys, const unsigned char* values,
                                        std::size_t vectors, const KeyMap& map);
using NullableWriter = unsigned char* (*)(unsigned char* keys, const unsigned char* values,
                                          std::size_t vectors, const NullableKeyMap& map,
                                          unsigned char nullByte);

// Keys of so many bytes and more go past the caches (kvbase/line_writer.h).
inline constexpr std::size_t kStreamed = std::size_t{1} << 22;
// Values are asked for so far ahead: by themselves processors do not look beyond a page.
inline constexpr std::size_t kAhead = 1024;

VectorWriter WideWriterOf(KeyStep step);

}  // namespace kv
