// Bytes as hex text, the way kvtm reads and writes stored forms.
#pragma once

#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<unsigned char>;

std::string ToHex(const unsigned char* bytes, std::size_t count);
inline std::string ToHex(const Bytes& bytes) {
  return ToHex(bytes.data(), bytes.size());
}

// Appends the bytes of `text` to `bytes`. Digits of either case; blanks, ":" and "," between bytes
// and 0x before them are skipped. Fails (Failure) on anything else and on an odd digit, naming the
// place.
void AppendHex(std::string_view text, Bytes& bytes);

// The same, and lines as xxd and hexdump -C write them: an offset, bytes, and a column of
// characters, which is not read.
void AppendHexDump(std::string_view text, Bytes& bytes);
