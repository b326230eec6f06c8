// Create, delete, construct, destruct, assign and copy a run of C++ objects of one type.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "zbs.h"

namespace kv {

// Reports an allocation that failed; sizes beyond the handler's argument count as the largest.
inline void ReportLowMemory(std::uint64_t bytes) {
  KvCallMemoryHandler(
      static_cast<unsigned>(std::min<std::uint64_t>(bytes, std::numeric_limits<unsigned>::max())));
}

template <class T>
void* CreateRun(unsigned count) {
  const std::uint64_t bytes = std::uint64_t{count} * sizeof(T);
  T* values = nullptr;
  // Runs beyond the address space would make the array form of new throw.
  if (bytes <= std::numeric_limits<std::ptrdiff_t>::max() / 2) {
    values = new (std::nothrow) T[count]();
  }
  if (values == nullptr) ReportLowMemory(bytes);
  return values;
}

template <class T>
void* DeleteRun(void* values, unsigned /*count*/) {
  delete[] static_cast<T*>(values);
  return nullptr;
}

template <class T>
void ConstructRun(void* values, unsigned count, unsigned /*unused*/) {
  std::uninitialized_value_construct_n(static_cast<T*>(values), count);
}

template <class T>
void DestructRun(void* values, unsigned count, unsigned /*unused*/) {
  std::destroy_n(static_cast<T*>(values), count);
}

template <class T>
void AssignRun(void* destination, void* source, unsigned count, int /*unused*/) {
  std::copy_n(static_cast<const T*>(source), count, static_cast<T*>(destination));
}

template <class T>
void CopyRun(void* destination, void* source, unsigned count, int /*unused*/) {
  std::uninitialized_copy_n(static_cast<const T*>(source), count, static_cast<T*>(destination));
}

}  // namespace kv
