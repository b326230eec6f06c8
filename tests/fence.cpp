// An allocator for the test programs: a block ends where a page does behind which nothing can be
// read, and every eighth begins behind such a page. So a byte read or written outside stops the
// test, whatever the answer would be. Blocks hold rubbish when they are given out, and other
// rubbish when they are given back.
#include "fence.h"

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Only where words may lie anywhere: a block of odd size begins at an odd address. Sanitizers and
// valgrind bring an allocator of their own; their builds leave this one out.
#if (defined(__x86_64__) || defined(__i386__)) && defined(__GLIBC__)
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kSlot = 2 * kPage;  // what cannot be read, and what can
constexpr std::size_t kSlots = 8192;
// Blocks that all end alike share few lines of the cache: of more than so many only one in 31 is
// fenced.
constexpr std::size_t kFew = 64;

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
unsigned char* begin = nullptr;
unsigned char* unused = nullptr;  // the page given back last, which begins with the one before
std::size_t pages = 0, live = 0, turn = 0;
bool isUp = false;

// A page between two that cannot be read, or null.
unsigned char* TakePage() {
  if (live >= kFew && turn % 31 != 0) return nullptr;
  if (begin == nullptr) {
    void* const all = mmap(nullptr, kSlots * kSlot, PROT_NONE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (all == MAP_FAILED) return nullptr;
    begin = static_cast<unsigned char*>(all);
  }
  unsigned char* page = unused;
  if (page != nullptr) {
    std::memcpy(&unused, page, sizeof unused);
  } else if (pages + 1 < kSlots) {
    page = begin + pages++ * kSlot + kPage;
    if (mprotect(page, kPage, PROT_READ | PROT_WRITE) != 0) return nullptr;
  }
  live += page != nullptr ? 1 : 0;
  return page;
}

// Where `block` stands in its page, or a page's size when it is none of ours.
std::size_t PlaceOf(const void* block) {
  const auto at = reinterpret_cast<std::uintptr_t>(block) - reinterpret_cast<std::uintptr_t>(begin);
  return begin != nullptr && at < kSlots * kSlot ? at % kPage : kPage;
}

}  // namespace

void RaiseFence() {
  isUp = true;
}

extern "C" {

// The C library's own, under the names it keeps for those who stand in front of it.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
  if (size == 0 || size > kPage || !isUp) return __libc_malloc(size);
  pthread_mutex_lock(&lock);
  const bool first = ++turn % 8 == 0;
  unsigned char* const page = TakePage();
  pthread_mutex_unlock(&lock);
  if (page == nullptr) return __libc_malloc(size);
  return std::memset(first ? page : page + kPage - size, 0xA7, size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  if (count > kPage || size > kPage || count * size > kPage) return __libc_calloc(count, size);
  void* const block = malloc(count * size);
  return block != nullptr ? std::memset(block, 0, count * size) : nullptr;
}

[[gnu::visibility("default")]] void free(void* block) {
  const std::size_t place = PlaceOf(block);
  if (place == kPage) return __libc_free(block);
  unsigned char* const page = static_cast<unsigned char*>(block) - place;
  std::memset(block, 0xB9, std::min<std::size_t>(kPage - place, 256));
  pthread_mutex_lock(&lock);
  std::memcpy(page, &unused, sizeof unused);
  unused = page;
  --live;
  pthread_mutex_unlock(&lock);
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) {
  const std::size_t old = kPage - PlaceOf(block);
  if (old == 0 && block != nullptr) return __libc_realloc(block, size);
  void* const moved = malloc(size);
  if (moved == nullptr) return nullptr;
  if (block != nullptr) std::memcpy(moved, block, std::min(old, size));
  free(block);
  return moved;
}

}  // extern "C"
#endif
