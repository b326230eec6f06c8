// The module's description, options and context, and loading it again and again.

#include <dlfcn.h>
#include <doctest/doctest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "kv.h"

namespace {

// Set up before the library is, and so called when it has been taken down.
void PrintNullAtTheEnd(int, void*) {
  KvNull_int null;
  KvString text;
  KvTypeMgr().PrintToKvString(KvNULL_INT_T, text, &null, nullptr, 1);
  if (std::strcmp(text.StrGet(), "{NULL}") != 0) _exit(1);
  if (KvLanguageContext::GetDefaultLanguage() != 1) _exit(1);
}
// Before anything was compared.
const unsigned short anyYearAtFirst = KvDate::AnyYear();
// Called before the library is taken down.
struct Leaving {
  ~Leaving() { KvLanguageContext::SetDefaultLanguage(3); }
} leaving;
[[gnu::section(".preinit_array"), gnu::used]] void (*const setUp)() = [] {
  on_exit(PrintNullAtTheEnd, nullptr);
};

}  // namespace

TEST_CASE("the module describes itself") {
  const char* compiler = nullptr;
  unsigned long buildNumber = 0;
  const char* description = nullptr;
  const char* date = nullptr;
  const char* internalName = nullptr;
  GetKvTypeMgrInfo(&compiler, &buildNumber, &description, &date, &internalName);
  CHECK(std::strlen(compiler) > 0);
  CHECK(buildNumber == 1927);
  CHECK(description == std::string("Zembla Typemanager 14.0.1.57.0 "));
  CHECK(date == std::string("Oct  6 2021"));
  CHECK(internalName == std::string("ZM140Ztms142"));
  GetKvTypeMgrInfo(nullptr, nullptr, nullptr, nullptr, nullptr);

  unsigned major = 1, minor = 1, release = 0, build = 0, patch = 1, number = 0;
  const char* when = nullptr;
  const char* further = nullptr;
  const void* reserved = nullptr;
  CHECK(KvDescribeDll(major, minor, release, build, patch, internalName, when, further, number,
                      compiler, reserved) == std::string("Zembla Typemanager"));
  CHECK(std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(release) + "." +
            std::to_string(build) + "." + std::to_string(patch) ==
        "14.0.1.57.0");
  CHECK(when == std::string("Oct  6 2021 14:09:32"));
  CHECK(further == std::string("unknown"));
  CHECK(number == 1927);
  CHECK(std::string(static_cast<const char*>(reserved), 16) == std::string(16, '\xFF'));
  CHECK(KvCheckDll(0) == kvOk);
  CHECK(KvCheckDll(4) == kvOk);
  CHECK(anyYearAtFirst == 65534);
}

TEST_CASE("the options word and the default type manager") {
  CHECK(___KvTypeMgrOptions() == 0);
  ___KvTypeMgrOptions() = 1;
  CHECK(___KvTypeMgrOptions() == 1);
  ___KvTypeMgrOptions() = 0;

  KvTypeMgr* attached = DefaultTypeMgr(nullptr);
  REQUIRE(attached != nullptr);
  CHECK(DefaultTypeMgr(nullptr) == attached);
  auto* mine = new KvTypeMgr(3);
  CHECK(DefaultTypeMgr(mine) == attached);
  CHECK(DefaultTypeMgr(attached) == mine);
  delete mine;

  // Attaching makes a manager of version 5 the default, whatever is in place; the one before is
  // the caller's when the caller installed it, and freed when the module made it.
  ___KvTypemgrContext(1);
  CHECK(DefaultTypeMgr(nullptr) != attached);
  delete attached;
  DefaultTypeMgr(nullptr)->SetFactory(3);
  ___KvTypemgrContext(1);
  CHECK(DefaultTypeMgr(nullptr)->FormatVersion() == 5);
  ___KvTypemgrContext(0);
  CHECK(DefaultTypeMgr(nullptr) == nullptr);
  ___KvTypemgrContext(1);
  REQUIRE(DefaultTypeMgr(nullptr) != nullptr);

  // A manager that is no longer installed is not touched, though another may have its address. The
  // process ends with a static one in place.
  static KvTypeMgr last;
  delete DefaultTypeMgr(&last);
  const std::unique_ptr<KvTypeMgr> again(new KvTypeMgr);
  DefaultTypeMgr(again.get());
  ___KvTypemgrContext(1);
  CHECK(DefaultTypeMgr(nullptr)->FormatVersion() == 5);
  delete DefaultTypeMgr(&last);
}

TEST_CASE("attaching and detaching put the defaults of the languages back") {
  for (const int attach : {1, 0}) {
    KvLanguageContext::SetDefaultLanguage(3);
    KvLanguageContext::SetDefaultCodeSet(253);
    ___KvTypemgrContext(attach);
    CHECK(KvLanguageContext::GetDefaultLanguage() == 1);
    CHECK(KvLanguageContext::GetDefaultCodeSet() == 1);
  }
  ___KvTypemgrContext(1);
}

TEST_CASE("the null print string is the process's") {
  CHECK(std::strcmp(KvTypeMgr::GetNullPrintString().StrGet(), "{NULL}") == 0);
  // One string, which a reference to it follows; it may be set to itself.
  const KvString& text = KvTypeMgr::GetNullPrintString();
  KvTypeMgr::SetNullPrintString(KvString("nil"));
  CHECK(&KvTypeMgr::GetNullPrintString() == &text);
  KvTypeMgr::SetNullPrintString(text);
  CHECK(std::strcmp(text.StrGet(), "nil") == 0);
  KvString null;
  null.SetNullValue();
  KvTypeMgr::SetNullPrintString(null);
  KvTypeMgr types;
  KvNull_int values[3] = {1, KvNull_int(), 3};
  KvString list;
  CHECK(std::strcmp(types.PrintToKvString(KvNULL_INT_T, list, values, nullptr, 3).StrGet(),
                    "1,,3") == 0);
  // Whatever its code set, a null prints in the default 8-bit one, and is scanned from that.
  const unsigned short wide[] = {0x20AC, 0xE9, 0};
  KvTypeMgr::SetNullPrintString(KvString(wide));
  for (char id = 0; id < KvRES_T; ++id) {
    if (types.SupportsNullValue(id) == 0) continue;
    CAPTURE(int{id});
    void* value = types.Create(id, 1);
    types.SetNullValue(id, value);
    types.PrintToKvString(id, list, value, nullptr, 1);
    CHECK(std::strcmp(list.StrGet(), "?\xE9") == 0);
    CHECK(list.GetCodeSet() == 1);
    CHECK(list.GetLanguage() == kvLanguageEnglish);
    types.Delete(id, value, 1);
  }
  types.ScanFromKvString(KvNULL_INT_T, values, list, nullptr, 1);
  CHECK(types.IsNullValue(KvNULL_INT_T, values) != 0);
  KvTypeMgr::SetNullPrintString(KvString("{NULL}"));
  CHECK(std::strcmp(text.StrGet(), "{NULL}") == 0);
}
