// The module's description, options and context, and loading it again and again.

#include <dlfcn.h>
#include <doctest/doctest.h>

#include <cstring>
#include <string>

#include "kv.h"

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
  CHECK(*static_cast<const unsigned char*>(reserved) == 0xFF);
  CHECK(KvCheckDll(0) == kvOk);
  CHECK(KvCheckDll(4) == kvOk);
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

  // Attaching again keeps the manager; detaching frees it; attaching makes a new one.
  ___KvTypemgrContext(1);
  CHECK(DefaultTypeMgr(nullptr) == attached);
  ___KvTypemgrContext(0);
  CHECK(DefaultTypeMgr(nullptr) == nullptr);
  ___KvTypemgrContext(1);
  CHECK(DefaultTypeMgr(nullptr) != nullptr);
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
  KvTypeMgr::SetNullPrintString(KvString("nil"));
  CHECK(std::strcmp(KvTypeMgr::GetNullPrintString().StrGet(), "nil") == 0);
  KvTypeMgr::SetNullPrintString(KvString("{NULL}"));
}
