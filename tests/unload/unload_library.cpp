// unload_library LIBRARY TIMES: loads the library, asks its default type manager a question and
// unloads it, TIMES times. Exit 1 when the library stays loaded, does not attach, or the heap
// grows.

#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

// Only the GNU C library tells; elsewhere loading and unloading are tried, the heap is not.
std::size_t HeapInUse() {
#if defined(__GLIBC__)
  return mallinfo2().uordblks;
#else
  return 0;
#endif
}

bool LoadOnce(const char* path) {
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    return false;
  }
  using Default = void* (*)(void*);
  // The mangled name of DefaultTypeMgr(KvTypeMgr*).
  auto getDefault = reinterpret_cast<Default>(dlsym(library, "_Z14DefaultTypeMgrP9KvTypeMgr"));
  if (getDefault == nullptr || getDefault(nullptr) == nullptr) {
    std::fprintf(stderr, "the library did not attach\n");
    return false;
  }
  // A null print string that is not the first one takes memory, which goes with the library.
  using Text = const void*;
  const auto getNull =
      reinterpret_cast<Text (*)()>(dlsym(library, "_ZN9KvTypeMgr18GetNullPrintStringEv"));
  const auto setNull = reinterpret_cast<void (*)(Text)>(
      dlsym(library, "_ZN9KvTypeMgr18SetNullPrintStringERK8KvString"));
  if (getNull == nullptr || setNull == nullptr) return false;
  setNull(getNull());
  dlclose(library);
  if (dlopen(path, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
    std::fprintf(stderr, "the library stayed loaded\n");
    return false;
  }
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const int times = std::atoi(arguments[2]);
  // The first loads warm up the loader's own bookkeeping.
  for (int i = 0; i < 10; ++i) {
    if (!LoadOnce(arguments[1])) return 1;
  }
  const std::size_t before = HeapInUse();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < times; ++i) {
    if (!LoadOnce(arguments[1])) return 1;
  }
  const std::chrono::duration<double, std::micro> elapsed =
      std::chrono::steady_clock::now() - start;
  const std::size_t after = HeapInUse();
  std::printf("heap in use: %zu before, %zu after %d loads; %.0f us to load and unload\n", before,
              after, times, elapsed.count() / times);
  return after > before + 1024 ? 1 : 0;
}
