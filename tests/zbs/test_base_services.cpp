// Base services: stored bytes against a byte-by-byte reference, the memory file, the clock, the
// host's hooks.

#include <dlfcn.h>
#include <doctest/doctest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "support/host.h"
#include "support/vector_sets.h"
#include "zbs.h"

namespace {

using StoreFunc = unsigned (*)(void*, const void*, unsigned char, unsigned);

struct Family {
  const char* name;
  unsigned width;
  StoreFunc store;
  StoreFunc load;
  unsigned (*size)(const void*, unsigned char, unsigned char, unsigned);
  unsigned (*nullSize)(unsigned);
};

const Family kFamilies[] = {
    {"char", 1, CharStore, CharStore, CharSizeGet, CharNullSizeGet},
    {"short", 2, ShortStore, ShortStore, ShortSizeGet, ShortNullSizeGet},
    {"long", 4, LongStore, LongStore, LongSizeGet, LongNullSizeGet},
    {"int", 4, IntStore, IntLoad, IntSizeGet, IntNullSizeGet},
    {"unsigned", 4, UnsignedStore, UnsignedLoad, IntSizeGet, IntNullSizeGet},
    {"float", 4, FloatStore, FloatStore, FloatSizeGet, FloatNullSizeGet},
    {"double", 8, DoubleStore, DoubleStore, DoubleSizeGet, DoubleNullSizeGet},
    {"8b", 8, O_8BStore, O_8BStore, O_8BSizeGet, O_8BNullSizeGet},
};

std::vector<unsigned char> ReversedByHand(const std::vector<unsigned char>& bytes, unsigned width) {
  std::vector<unsigned char> out;
  for (std::size_t at = 0; at < bytes.size(); at += width) {
    for (unsigned i = width; i-- > 0;) out.push_back(bytes[at + i]);
  }
  return out;
}

// A run is stored `offset` bytes into a block, loaded, and stored in its place.
void CheckRun(const Family& family, unsigned count, unsigned offset, unsigned char format) {
  std::vector<unsigned char> memory(count * family.width);
  std::iota(memory.begin(), memory.end(), static_cast<unsigned char>(count + offset));
  const bool isReversed = ((format & 15) == 2) != support::kHostIsBig;
  const auto stored = isReversed ? ReversedByHand(memory, family.width) : memory;
  std::vector<unsigned char> expected(1400, 0xEE), block(expected);
  std::copy(stored.begin(), stored.end(), expected.begin() + offset);
  REQUIRE(family.store(block.data() + offset, memory.data(), format, count) == memory.size());
  REQUIRE(block == expected);
  std::vector<unsigned char> back(memory.size());
  REQUIRE(family.load(back.data(), stored.data(), format, count) == memory.size());
  REQUIRE(back == memory);
  std::copy(memory.begin(), memory.end(), block.begin() + offset);
  family.store(block.data() + offset, block.data() + offset, format, count);
  REQUIRE(block == expected);
}

}  // namespace

TEST_CASE("scalar runs of every length store and load in both byte orders") {
  for (const Family& family : kFamilies) {
    CAPTURE(family.name);
    for (unsigned count = 0; count < 70; ++count) {
      for (unsigned char format : std::initializer_list<unsigned char>{0, 1, 3, 0x82, 8, 10}) {
        CAPTURE(format);
        // One byte off, so that nothing relies on alignment.
        CheckRun(family, count, 1, format);
      }
      REQUIRE(family.size(nullptr, 0, 2, count) == count * family.width);
      REQUIRE(family.nullSize(count) == count * family.width);
    }
  }
}

TEST_CASE("long runs are reversed alike with all vectors, at every address, and in place") {
  support::WithEachVectorSet([] {
    for (const Family& family : kFamilies) {
      CAPTURE(family.name);
      for (unsigned offset = 0; offset <= 66; ++offset) {
        CAPTURE(offset);
        const unsigned count = (1200 + 7 * offset % 130) / family.width - offset % 9;
        CheckRun(family, count, offset, support::kHostIsBig ? 1 : 2);
      }
    }
  });
}

TEST_CASE("single values are stored like runs of one") {
  const o_8b eight = 0x0102030405060708;
  const o_4b four = 0x05060708;
  const o_2b two = 0x0708;
  unsigned char one[8];
  CHECK(O_8BStoreOne(one, &eight, 2) == 8);
  CHECK(one[0] == 1);
  CHECK(LongStoreOne(one, &four, 2) == 4);
  CHECK(one[0] == 5);
  CHECK(ShortStoreOne(one, &two, 1) == 2);
  CHECK(one[0] == 8);
}

TEST_CASE("a memory file reads to its end and refuses to seek past it") {
  MemFile file("abcdef", 6);
  char buffer[8] = {};
  CHECK(file.Read(buffer, 4) == 4);
  CHECK(file.Tell() == 4);
  CHECK(file.Read(buffer, 8) == 2);
  CHECK(std::string(buffer, 4) == "efcd");
  CHECK(file.Read(buffer, 1) == 0);
  CHECK(file.Seek(7) == kvBadArgument);
  CHECK(file.Tell() == 6);
  CHECK(file.Seek(6) == kvOk);
  CHECK(file.Seek(1) == kvOk);
  CHECK(file.Read(buffer, 1) == 1);
  CHECK(buffer[0] == 'b');
  MemFile empty(nullptr, 5);
  CHECK(empty.Size() == 0);
  CHECK(empty.Read(buffer, 1) == 0);
}

TEST_CASE("the clock agrees with the C library in the zone of TZ") {
  setenv("TZ", "XYZ-05:30", 1);
  CHECK(bksgettimezone() == 330);
  bdate date;
  btime time;
  bhirestime local;
  bhirestime utc;
  const std::time_t before = std::time(nullptr);
  bksgetsystemtime(time, date);
  bksGetHiresTime(local);
  bksGetHiresTimeUTC(utc);
  const auto seconds = [](const bhirestime& at) {
    std::tm fields{};
    fields.tm_year = at.date.year - 1900;
    fields.tm_mon = at.date.month - 1;
    fields.tm_mday = at.date.day;
    fields.tm_hour = at.time.hour;
    fields.tm_min = at.time.minute;
    fields.tm_sec = at.time.second;
    return timegm(&fields);
  };
  CHECK(seconds({date, time, 0}) - before <= 2);
  CHECK(seconds(utc) - before <= 2);
  CHECK(seconds(local) - seconds(utc) - 330 * 60 <= 1);
  CHECK(local.time.zoneOffset == 19800);
  CHECK(utc.time.zoneOffset == 0);
  CHECK(utc.nanosecond < 1000000000);
  // One of these zones is in another day than UTC at any time.
  for (const int hours : {14, -12}) {
    CAPTURE(hours);
    setenv("TZ", hours > 0 ? "XYZ-14" : "XYZ+12", 1);
    o_8b off = 0;
    for (int tries = 0; tries < 3; ++tries) {  // midnight may pass between two calls
      bksgetdate(date);
      bksgettime(time);
      off = std::abs(seconds({date, time, 0}) - std::time(nullptr) - hours * 3600);
      if (off <= 2) break;
    }
    CHECK(off <= 2);
  }

  CHECK((KvSetTimeZoneSource([] { return kvNoTimeZone; }) == nullptr));
  CHECK(bksgettimezone() == kvNoTimeZone);
  CHECK((KvSetTimeZoneSource(nullptr) != nullptr));
  unsetenv("TZ");
  tzset();
}

namespace {

// The clock of the C library, as the base library is given it here.
std::timespec fixed;
bool isFixed = false;
bool isLeapSecond = false;

}  // namespace

extern "C" [[gnu::visibility("default")]] int timespec_get(std::timespec* now, int base) noexcept {
  if (isFixed) return *now = fixed, base;
  return clock_gettime(CLOCK_REALTIME, now) == 0 ? base : 0;
}

extern "C" [[gnu::visibility("default")]] std::tm* gmtime_r(const std::time_t* at,
                                                            std::tm* fields) noexcept {
  static const auto original = reinterpret_cast<decltype(&gmtime_r)>(dlsym(RTLD_NEXT, "gmtime_r"));
  std::tm* const done = original(at, fields);
  if (isLeapSecond) fields->tm_sec = 60;
  return done;
}

TEST_CASE("a second has its hundredths, a leap second none of its own, and a far year no zone") {
  isFixed = true;
  bhirestime now;
  for (const long nanosecond : {0L, 9999999L, 10000000L, 999999999L}) {
    fixed = {1709210096, nanosecond};
    bksGetHiresTimeUTC(now);
    CHECK((now.time.second == 56 && now.time.hundredth == nanosecond / 10000000));
    CHECK(now.nanosecond == nanosecond);
  }
  isLeapSecond = true;
  bksGetHiresTimeUTC(now);
  CHECK(now.time.second == 59);
  fixed.tv_sec = std::numeric_limits<std::time_t>::max();
  if (sizeof(std::time_t) == 8) CHECK(bksgettimezone() == kvNoTimeZone);
  isFixed = isLeapSecond = false;
}

TEST_CASE("handlers are replaced and restored") {
  static std::string seen;
  const auto handler = [](const char* text, const char* source, int line) {
    seen = std::string(text) + "|" + source + "|" + std::to_string(line);
  };
  CHECK((KIVO_SetAssertHandler(handler) == nullptr));
  KIVO_assert("x < y", "src/here", 7);
  CHECK(seen == "x < y|src/here|7");
  CHECK((KIVO_SetAssertHandler(nullptr) == +handler));
  // Without a handler it is told.
  char told[64] = {};
  int ends[2];
  REQUIRE(pipe(ends) == 0);
  const int before = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  KIVO_assert("x < y", "src/here", 7);
  dup2(before, STDERR_FILENO);
  for (const int end : {before, ends[1]}) close(end);
  CHECK(read(ends[0], told, sizeof told - 1) > 0);
  close(ends[0]);
  CHECK(std::string(told) == "assertion failed: x < y (src/here:7)\n");

  static unsigned asked = 0;
  const auto memory = [](unsigned size) { asked = size; };
  CHECK((KvSetMemoryHandler(memory) == nullptr));
  KvCallMemoryHandler(77);
  CHECK(asked == 77);
  CHECK((KvSetMemoryHandler(nullptr) == +memory));
  KvCallMemoryHandler(78);
  CHECK(asked == 77);
}

TEST_CASE("configuration values are told apart by section and name") {
  KvConfig config;
  CHECK(config.GetValue("debug", "stringOverflow", 9) == 9);
  CHECK(config.SetValue("debug", "stringOverflow", 1) == kvOk);
  CHECK(config.SetValue("debug", "other", 2) == kvOk);
  CHECK(config.SetValue("debug", "stringOverflow", 3) == kvOk);
  CHECK(config.GetValue("debug", "stringOverflow", 9) == 3);
  CHECK(config.GetValue("debug", "other", 9) == 2);
  CHECK(config.GetValue("Debug", "other", 9) == 9);
  CHECK(config.SetValue("debug", std::string(60, 'n').c_str(), 1) == kvNotSupported);
  CHECK(config.SetValue("debug", std::string(57, 'n').c_str(), 4) == kvOk);  // the longest
  CHECK(config.GetValue("debug", std::string(58, 'n').c_str(), 9) == 9);
  int stored = 2;
  while (config.SetValue("fill", std::to_string(stored).c_str(), 5) == kvOk) ++stored;
  CHECK(stored == 31);
  CHECK(&DefaultConfig() == &DefaultConfig());
}

TEST_CASE("versions fit as strictly as the flags ask") {
  CHECK(CheckKvVersionNumber(14, 0, 1, 57, 0, 7) == kvOk);
  CHECK(CheckKvVersionNumber(13, 0, 1, 57, 0, 0) == kvNotSupported);
  CHECK(CheckKvVersionNumber(14, 1, 0, 0, 0, 0) == kvOk);
  CHECK(CheckKvVersionNumber(14, 1, 0, 0, 0, 1) == kvNotSupported);
  CHECK(CheckKvVersionNumber(14, 0, 2, 0, 0, 1) == kvOk);
  CHECK(CheckKvVersionNumber(14, 0, 2, 0, 0, 2) == kvNotSupported);
  CHECK(CheckKvVersionNumber(14, 0, 1, 58, 0, 3) == kvOk);
  CHECK(CheckKvVersionNumber(14, 0, 1, 58, 0, 4) == kvNotSupported);
}

// As the system tells it; an emulator shows the file of its host.
int WidestVectorSet() {
#if defined(__x86_64__) || defined(__i386__)
  std::ifstream information("/proc/cpuinfo");
  std::string flags;
  while (std::getline(information, flags) && !flags.starts_with("flags")) {
  }
  const auto has = [&flags](const char* name) {
    return (flags + ' ').find(' ' + std::string(name) + ' ') != flags.npos;
  };
  const bool has512 = has("avx512bw") && has("avx512vl");
  if (has512 && has("avx512vbmi") && has("avx512_vbmi2")) return 4;
  return has512 ? 3 : has("avx2") ? 2 : has("ssse3") ? 1 : 0;
#else
  return 0;
#endif
}

TEST_CASE("the vectors in use are the widest that the processor and KV_VECTORS allow") {
  const int widest = WidestVectorSet();
  const char* const names[] = {"plain", "ssse3", "avx2", "avx512", "vbmi2", "none such"};
  const char* const set = std::getenv("KV_VECTORS");
  const std::string before = set != nullptr ? set : "";
  for (int i = 0; i < 6; ++i) {
    setenv("KV_VECTORS", names[i], 1);
    kv::vectorSetInUse = 0;
    CHECK(static_cast<int>(kv::Vectors()) == std::min(i, widest));
  }
  CHECK(static_cast<int>(kv::LimitVectors(kv::VectorSet::kAvx2)) == widest);
  CHECK(static_cast<int>(kv::LimitVectors(kv::VectorSet::kWidest)) == std::min(2, widest));
  setenv("KV_VECTORS", before.c_str(), 1);
}
