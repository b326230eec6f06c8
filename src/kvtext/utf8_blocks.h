// UTF-8 by whole blocks, with the widest vectors that the processor has. A block is taken only when
// all of it is usual: characters of one to three bytes, well formed. At anything else the walk ends
// in front of it, and the plain walk of utf8.h, which knows every rule, goes on from there.
#pragma once

#include <cstddef>

namespace kv::utf8 {

struct Progress {
  std::size_t read = 0;
  std::size_t written = 0;
  bool complete = true;  // false: stopped at invalid bytes, or at the end of the room
};

// Whether the processor has vectors that do something for a text of so many bytes.
bool HasBlocks(std::size_t bytes);

// Decodes characters that lie wholly before `stop`, at most `room`. Zero bytes are characters. Of
// `out` only what is written is changed. Ends at the end of a character, maybe at once.
Progress DecodeBlocks(const unsigned char* in, std::size_t stop, unsigned short* out,
                      std::size_t room);

// Encodes up to `count` units, ending at a zero or where the next block may not find room in `size`
// bytes. Of `out` only what is written is changed.
Progress EncodeBlocks(const unsigned short* in, std::size_t count, char* out, std::size_t size);

}  // namespace kv::utf8
