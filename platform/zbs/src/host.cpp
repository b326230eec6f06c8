// What a host observes or sets: assertions, low memory, configuration, version compatibility.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "zbs.h"

#include "kvversion.h"

namespace {

KvAssertHandler assertHandler = nullptr;
KvMemoryHandler memoryHandler = nullptr;
thread_local unsigned lowMemoryCount = 0;

constexpr int kSameMinor = 0x1;
constexpr int kReleaseNotNewer = 0x2;
constexpr int kBuildNotNewer = 0x4;

void TellAssertion(const char* text, const char* source, int line) {
  std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", text, source, line);
}

// A configuration value's key is its section, a slash and its name. False when that does not fit.
bool MakeKey(char (&key)[64], const char* section, const char* name) {
  const int length = std::snprintf(key, sizeof key, "%s/%s", section, name);
  return length >= 0 && length < static_cast<int>(sizeof key);
}

// The entry of a key, or `end`.
template <class Entry>
Entry* FindKey(Entry* begin, Entry* end, const char* key) {
  return std::find_if(begin, end,
                      [key](const Entry& entry) { return std::strcmp(entry.key, key) == 0; });
}

}  // namespace

void KIVO_assert(const char* text, const char* source, int line) {
  (assertHandler != nullptr ? assertHandler : TellAssertion)(text, source, line);
}

KvAssertHandler KIVO_SetAssertHandler(KvAssertHandler handler) {
  const KvAssertHandler previous = assertHandler;
  assertHandler = handler;
  return previous;
}

void KvCallMemoryHandler(unsigned size) {
  ++lowMemoryCount;
  if (memoryHandler != nullptr) memoryHandler(size);
}

unsigned KvLowMemoryCount() {
  return lowMemoryCount;
}

KvMemoryHandler KvSetMemoryHandler(KvMemoryHandler handler) {
  const KvMemoryHandler previous = memoryHandler;
  memoryHandler = handler;
  return previous;
}

int KvConfig::SetValue(const char* section, const char* name, unsigned short value) {
  Entry entry{};
  if (!MakeKey(entry.key, section, name)) return kvNotSupported;
  entry.value = value;
  Entry* const found = FindKey(entries_, entries_ + count_, entry.key);
  if (found == std::end(entries_)) return kvNotSupported;
  if (found == entries_ + count_) ++count_;
  *found = entry;
  return kvOk;
}

unsigned short KvConfig::GetValue(const char* section, const char* name,
                                  unsigned short fallback) const {
  char key[64];
  if (!MakeKey(key, section, name)) return fallback;
  const Entry* const found = FindKey(entries_, entries_ + count_, key);
  return found == entries_ + count_ ? fallback : found->value;
}

KvConfig& DefaultConfig() {
  static constinit KvConfig config;
  return config;
}

int CheckKvVersionNumber(unsigned major, unsigned minor, unsigned release, unsigned build,
                         unsigned /*patch*/, int flags) {
  if (major != kv::kMajor) return kvNotSupported;
  if (minor != kv::kMinor) return (flags & kSameMinor) != 0 ? kvNotSupported : kvOk;
  if ((flags & kReleaseNotNewer) != 0 && release > kv::kRelease) return kvNotSupported;
  if ((flags & kBuildNotNewer) != 0 && release == kv::kRelease && build > kv::kBuild) {
    return kvNotSupported;
  }
  return kvOk;
}
