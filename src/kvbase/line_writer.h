// Bytes on their way to memory past the caches: gathered in a block that stays in the cache, and
// written from there by whole lines. A run that is larger than a core's own caches would only push
// others out of them, and a store that goes through reads each line before it is written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

namespace kv {

class LineWriter {
 public:
  static constexpr unsigned kLine = 64;
  // What is put into the block at a time takes at most so much. Short, so that the processor reads
  // what comes next while the lines of one block are on their way.
  static constexpr unsigned kBlock = 1024;

  explicit LineWriter(unsigned char* to)
      : to_(to), skipped_(reinterpret_cast<std::uintptr_t>(to) % kLine), held_(skipped_) {}

  // The next bytes are put here. A line behind the block may be written over.
  unsigned char* Room() { return block_ + held_; }

  // They end here.
  void Take(const unsigned char* end) {
    held_ = static_cast<std::size_t>(end - block_);
    const std::size_t lines = held_ / kLine;
    if (lines == 0) return;
    const std::size_t begun = skipped_ != 0 ? 1 : 0;
    if (begun != 0) FinishLine();
    Stream(block_ + begun * kLine, lines - begun);
    held_ -= lines * kLine;
    std::memcpy(block_, block_ + lines * kLine, kLine);  // of which `held_` bytes matter
  }

  void Finish() {
    std::memcpy(to_, block_ + skipped_, held_ - skipped_);
    _mm_sfence();  // such stores are not in order with those behind them
  }

 private:
  // The first line, whose beginning belongs to somebody else.
  void FinishLine() {
    std::memcpy(to_, block_ + skipped_, kLine - skipped_);
    to_ += kLine - skipped_;
    skipped_ = 0;
  }

  [[gnu::target("avx2")]] void Stream(const unsigned char* from, std::size_t lines) {
    for (; lines != 0; --lines, to_ += kLine, from += kLine) {
      for (unsigned i = 0; i < kLine; i += 32) {
        _mm256_stream_si256(reinterpret_cast<__m256i*>(to_ + i),
                            _mm256_load_si256(reinterpret_cast<const __m256i*>(from + i)));
      }
    }
  }

  alignas(kLine) unsigned char block_[kLine + kBlock + kLine];
  unsigned char* to_;
  std::size_t skipped_;  // bytes of the block's first line that are not written
  std::size_t held_;
};

}  // namespace kv

#endif
