// What is switched on, and what control came by; every program and library of the build links this.
//
// KV_MUTANT          the number of the fault that is on, none when missing
// KV_MUTANT_REACHED  a file with a byte for each fault, set to 1 as control comes by; it is shared
// by
//                    the processes of a test and survives a crash. Byte 0 is set to 1 when control
//                    fell off the end of a function: a compiler would have warned of that fault.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cstdlib>

namespace {
unsigned char nobody_asks[1 << 16];
}

extern "C" {
unsigned kv_mutant = 0;
volatile unsigned char* kv_mutant_reached = nobody_asks;

// Called in place of the runtime of -fsanitize=return.
void __ubsan_handle_missing_return(void*) {
  kv_mutant_reached[0] = 1;
  _exit(90);
}
}

namespace {
[[gnu::constructor]] void Begin() {
  if (const char* number = std::getenv("KV_MUTANT"))
    kv_mutant = static_cast<unsigned>(std::atoi(number));
  const char* path = std::getenv("KV_MUTANT_REACHED");
  const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) return;
  struct stat status;
  if (fstat(file, &status) == 0 && status.st_size > 0) {
    void* shared = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE,
                        MAP_SHARED, file, 0);
    if (shared != MAP_FAILED) kv_mutant_reached = static_cast<unsigned char*>(shared);
  }
  close(file);
}
}  // namespace
