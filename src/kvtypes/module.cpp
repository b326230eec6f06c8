// The module's description, its options, and its process-wide context: the default type manager,
// made when the shared library is loaded and freed when it is unloaded.

#include "kvmodule.h"

#include <cstdio>
#include <new>

#include "kvtypemgr.h"
#include "kvversion.h"
#include "zin.h"

namespace {

constexpr unsigned kBuildNumber = 1927;
constexpr unsigned kAttachedVersion = 5;

constexpr char kDescription[] = "Zembla Typemanager";
constexpr char kInternalName[] = "ZM140Ztms142";
// Two blanks before a one-digit day.
constexpr char kBuildDate[] = "Oct  6 2021";
constexpr char kBuildDateAndTime[] = "Oct  6 2021 14:09:32";
#if defined(__clang__)
constexpr char kCompiler[] = __VERSION__;
#else
constexpr char kCompiler[] = "g++ " __VERSION__;
#endif

int options = 0;
char descriptionBuffer[sizeof kDescription + sizeof kv::kVersion + sizeof ' '];
constinit const unsigned char reservedBlock[16] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                   0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

KvTypeMgr* defaultTypeMgr = nullptr;
// Whether the module made what is installed and nobody has replaced it since.
bool isOwnTypeMgr = false;

void FreeOwnTypeMgr() {
  if (isOwnTypeMgr) delete defaultTypeMgr;
  isOwnTypeMgr = false;
  defaultTypeMgr = nullptr;
}

template <class T>
void Fill(T* slot, T value) {
  if (slot != nullptr) *slot = value;
}

}  // namespace

void GetKvTypeMgrInfo(const char** compiler, unsigned long* buildNumber, const char** description,
                      const char** date, const char** internalName) {
  // The blank behind the version is part of the text; loaders compare it whole.
  std::snprintf(descriptionBuffer, sizeof descriptionBuffer, "%s %s ", kDescription, kv::kVersion);
  Fill<const char*>(compiler, kCompiler);
  Fill<unsigned long>(buildNumber, kBuildNumber);
  Fill<const char*>(description, descriptionBuffer);
  Fill<const char*>(date, kBuildDate);
  Fill<const char*>(internalName, kInternalName);
}

const char* KvDescribeDll(unsigned& major, unsigned& minor, unsigned& release, unsigned& build,
                          unsigned& patch, const char*& internalName, const char*& buildDateAndTime,
                          const char*& furtherField, unsigned& buildNumber, const char*& compiler,
                          const void*& reserved) {
  major = kv::kMajor;
  minor = kv::kMinor;
  release = kv::kRelease;
  build = kv::kBuild;
  patch = kv::kPatch;
  internalName = kInternalName;
  buildDateAndTime = kBuildDateAndTime;
  furtherField = "unknown";
  buildNumber = kBuildNumber;
  compiler = kCompiler;
  reserved = reservedBlock;
  return kDescription;
}

int KvCheckDll(int flags) {
  return CheckKvVersionNumber(kv::kMajor, kv::kMinor, kv::kRelease, kv::kBuild, kv::kPatch,
                              flags | 3);
}

int& ___KvTypeMgrOptions() {
  return options;
}

void ___KvTypemgrContext(int attach) {
  ___KvI18NContext(attach);
  // Detaching frees what is installed, whoever made it; attaching again only what is its own.
  if (attach == 0) isOwnTypeMgr = true;
  FreeOwnTypeMgr();
  if (attach == 0) return;
  defaultTypeMgr = new (std::nothrow) KvTypeMgr(kAttachedVersion);
  isOwnTypeMgr = defaultTypeMgr != nullptr;
  if (!isOwnTypeMgr) KvCallMemoryHandler(sizeof(KvTypeMgr));
}

KvTypeMgr* DefaultTypeMgr(KvTypeMgr* replacement) {
  KvTypeMgr* previous = defaultTypeMgr;
  if (replacement == nullptr) return previous;
  defaultTypeMgr = replacement;
  isOwnTypeMgr = false;
  return previous;
}

namespace {

[[gnu::constructor]] void AttachOnLoad() {
  ___KvTypemgrContext(1);
}

// What a caller has installed may be a static object of a program that is leaving.
[[gnu::destructor]] void DetachOnUnload() {
  ___KvI18NContext(0);
  FreeOwnTypeMgr();
}

}  // namespace
