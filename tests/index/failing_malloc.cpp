#include <cstddef>

#include "index/failing_malloc.h"

#ifdef KV_FAILING_MALLOC

extern "C" {
void* __libc_malloc(std::size_t size);

namespace {
bool fails = false;
}

__attribute__((visibility("default"))) void* malloc(std::size_t size) {
  return fails ? nullptr : __libc_malloc(size);
}
}

FailingMalloc::FailingMalloc() {
  fails = true;
}

FailingMalloc::~FailingMalloc() {
  fails = false;
}

#endif
