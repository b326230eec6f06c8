// UTF-8 by blocks of 32 bytes and of 16 units, for processors that shuffle bytes by a register
// (SSSE3) but compress none: what is to be left out is found in a table. Meant for utf8_blocks.h
// alone, which tells what the four functions do.
#pragma once

#include "kvtext/utf8_blocks.h"

#if defined(__x86_64__) || defined(__i386__)
namespace kv::utf8 {

Progress DecodeBySsse3(const unsigned char* in, std::size_t stop, unsigned short* out,
                       std::size_t room);
Progress DecodeByAvx2(const unsigned char* in, std::size_t stop, unsigned short* out,
                      std::size_t room);
Progress EncodeBySsse3(const unsigned short* in, std::size_t count, char* out, std::size_t size);
Progress EncodeByAvx2(const unsigned short* in, std::size_t count, char* out, std::size_t size);

}  // namespace kv::utf8
#endif
