#include "faults/allocator.h"

#include <malloc.h>

#include <cerrno>
#include <cstdlib>

// Sanitizers bring an allocator of their own, and other C libraries have no names for theirs.
// Builds with one define KV_SANITIZED.
#if !defined(__GLIBC__) && !defined(KV_SANITIZED)
#define KV_SANITIZED
#endif

namespace {

// One thread allocates here.
long live = 0;
bool armed = false;
std::size_t refused = 0;
unsigned until = 0;  // allocations until one is refused; 0: none will be

// The first exception of a thread takes a block for good in some standard libraries: before anybody
// counts.
[[maybe_unused]] const bool hasThrown = [] {
  try {
    throw 0;
  } catch (int) {
    return true;
  }
}();

#ifndef KV_SANITIZED
bool Refused(std::size_t size) {
  if (!armed || until == 0) return false;
  --until;
  if (until != 0) return false;
  refused = size;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}
#endif

}  // namespace

namespace faults {

bool AreInjected() {
#ifdef KV_SANITIZED
  return false;
#else
  return true;
#endif
}

long LiveBlocks() {
  return live;
}

std::size_t RefusedSize() {
  return refused;
}

void Fault::Arm() {
  until = number_;
  armed = true;
}

void Fault::Disarm() {
  armed = false;
  struck_ = struck_ || (number_ != 0 && until == 0);
  // A step may have several parts; the count goes on in the next.
  number_ = until;
}

}  // namespace faults

#ifndef KV_SANITIZED

extern "C" {

// The C library's own, under the names it keeps for those who stand in front of it.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

KV_EXPORT void* malloc(std::size_t size) {
  return Refused(size) ? nullptr : Counted(__libc_malloc(size));
}

KV_EXPORT void* calloc(std::size_t count, std::size_t size) {
  return Refused(count * size) ? nullptr : Counted(__libc_calloc(count, size));
}

// Making a block smaller never fails.
KV_EXPORT void* realloc(void* block, std::size_t size) {
  if (size > malloc_usable_size(block) && Refused(size)) return nullptr;
  void* moved = __libc_realloc(block, size);
  if (block == nullptr) Counted(moved);
  if (block != nullptr && size == 0) --live;
  return moved;
}

// What clang's standard library takes exceptions from.
KV_EXPORT void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return Refused(size) ? nullptr : Counted(__libc_memalign(alignment, size));
}

KV_EXPORT int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* aligned = aligned_alloc(alignment, size);
  if (aligned == nullptr) return ENOMEM;
  *block = aligned;
  return 0;
}

KV_EXPORT void free(void* block) {
  if (block != nullptr) --live;
  __libc_free(block);
}

}  // extern "C"

#endif
