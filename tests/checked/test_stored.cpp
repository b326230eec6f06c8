// Stored bytes from strangers: what is measured against what the rows themselves write, and what is
// refused, cut by cut and byte by byte.
#include <doctest/doctest.h>
#include <sys/mman.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "kvchecked.h"
#include "support/values_of.h"

namespace {

using support::Bytes;
using support::FromHex;
using support::Types;
using support::Values;

constexpr unsigned char kOrders[] = {0, 2};

// A heap block of just the size, so that a sanitizer sees a byte too far.
struct Block {
  explicit Block(const Bytes& from) : bytes(new unsigned char[from.size()]), size(from.size()) {
    std::copy(from.begin(), from.end(), bytes.get());
  }
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size;
};

KvMeasured Measure(char id, const Bytes& bytes, unsigned count, unsigned char format = 0) {
  const Block block(bytes);
  return KvMeasureStored(Types(), id, block.bytes.get(), block.size, format, count);
}

// What was not measured has no size, and what was refused as a whole no place.
int Refusal(const KvStored& run) {
  CHECK(run.bytes == 0);
  return run.status;
}
int Refusal(const KvMeasured& run) {
  CHECK(run.offset == 0);
  return run.status;
}

}  // namespace

TEST_CASE("what a row stores is measured, and no shorter piece of it") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(Types().NameGet(id, nullptr)));
    const Values values(id, support::OrdinaryValues(id, 12));
    for (const unsigned char format : kOrders) {
      const Bytes stored = values.Stored(format, 0, values.Count());
      const KvMeasured all = Measure(id, stored, 0, format);
      CHECK(all.status == kvOk);
      CHECK(all.count == values.Count());
      CHECK(all.bytes == stored.size());
      CHECK(all.strange == 0);
      for (std::size_t size = 0; size < stored.size(); ++size) {
        const KvMeasured cut =
            Measure(id, Bytes(stored.begin(), stored.begin() + long(size)), values.Count(), format);
        CHECK(cut.status == kvBufferShort);
        CHECK(cut.offset + cut.needed > size);
        CHECK(cut.offset <= size);
      }
      Bytes more = stored;
      more.push_back(7);
      CHECK(Measure(id, more, values.Count(), format).bytes == stored.size());
      if (more.size() > values.Count() + 1) CHECK(Measure(id, more, 0, format).status != kvOk);
    }
  }
}

TEST_CASE("a block is as long as its length says in the order of its bytes") {
  // 513, and 258 the other way round: either block ends in its mark.
  Bytes block(515, 0xFF);
  std::copy_n(std::data({0x01, 0x02, 1, 1}), 4, block.begin());
  block[513] = 0;
  for (const char id : {KvSTRING_T, KvISTRING_T}) {
    CHECK((Measure(id, block, 1).bytes == 515 && Measure(id, block, 1, 2).bytes == 260));
  }
}

TEST_CASE("what is measured is loaded, and what is not leaves the values alone") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(Types().NameGet(id, nullptr)));
    const Values values(id, support::OrdinaryValues(id, 12));
    const Values other(id, support::OrdinaryValues(id, 12, 99));
    const Bytes before = other.Stored(0, 0, 12);
    const Block stored(values.Stored(2, 0, 12));
    CHECK(KvLoadChecked(Types(), id, other[0], stored.bytes.get(), stored.size - 1, 2, 12).status ==
          kvBufferShort);
    CHECK(other.Stored(0, 0, 12) == before);
    CHECK(KvLoadChecked(Types(), id, other[0], stored.bytes.get(), stored.size, 2, 12).status ==
          kvOk);
    CHECK(other.Stored(2, 0, 12) == values.Stored(2, 0, 12));
  }
}

TEST_CASE("values are stored within their room or not at all, and their size is known before") {
  const KvTypeMgr old(3);
  for (char id = 0; id < support::kRowCount; ++id) {
    const Values values(id, support::OrdinaryValues(id, 9));
    for (const KvTypeMgr* types : std::initializer_list<const KvTypeMgr*>{&Types(), &old}) {
      if (KvCheckType(*types, id) != kvOk) continue;
      CAPTURE(std::string(types->NameGet(id, nullptr)));
      Bytes stored(4096);
      stored.resize(types->Store(id, stored.data(), values[0], 2, 9));
      CHECK(KvStoredSize(*types, id, values[0], 9).bytes == stored.size());
      Block room(Bytes(stored.size(), 0xA5));
      const KvStored refused =
          KvStoreChecked(*types, id, room.bytes.get(), room.size - 1, values[0], 2, 9);
      CHECK(refused.status == kvBufferShort);
      CHECK(refused.bytes == stored.size());
      CHECK(std::count(room.bytes.get(), room.bytes.get() + room.size, 0xA5) ==
            static_cast<long>(room.size));
      CHECK(KvStoreChecked(*types, id, room.bytes.get(), room.size, values[0], 2, 9).status ==
            kvOk);
      CHECK(std::equal(stored.begin(), stored.end(), room.bytes.get()));
    }
  }
}

TEST_CASE("a run that its stored form cannot hold is not stored") {
  const KvTypeMgr old(3);
  KvString longest[2];
  longest[0].Expand(40000, 'x');
  longest[1].Expand(25533, 'x');
  CHECK(KvStoredSize(old, KvSTRING_T, longest, 1).bytes == 40003);
  CHECK(KvStoredSize(old, KvSTRING_T, longest, 2).bytes == 65537);
  longest[1].Expand(25534, 'x');
  CHECK(Refusal(KvStoredSize(old, KvSTRING_T, longest, 2)) == kvOutOfRange);
  for (const unsigned version : {4u, 5u}) {
    CHECK(KvStoredSize(KvTypeMgr(version), KvSTRING_T, longest, 2).bytes == 65546);
  }
  CHECK(KvStoredSize(Types(), Kv1B_T, longest, UINT_MAX).bytes == UINT_MAX);
  CHECK(KvStoredSize(Types(), Kv2B_T, longest, 0x80000000).status == kvOutOfRange);
}

TEST_CASE("damage to stored strings and blobs is told by its place") {
  struct Case {
    char id;
    const char* hex;
    unsigned count;
    int status;
    std::size_t offset;
    unsigned found;
  };
  const Case cases[] = {
      // Sound: the present form, the old one, a run of both sorts of strings.
      {KvSTRING_T, "07 00 01 01 61 62 63 00 FF", 1, kvOk, 0, 1},
      {KvSTRING_T, "04 00 61 62 63 00", 1, kvOk, 0, 1},
      {KvSTRING_T, "04 00 61 00 62 00", 0, kvOk, 0, 2},
      // The mark: another byte, and a zero, which makes an old block of two texts of it.
      {KvSTRING_T, "07 00 01 01 61 62 63 00 FE", 1, kvDamaged, 8, 0},
      {KvSTRING_T, "07 00 01 01 61 62 63 00 00", 1, kvDamaged, 8, 0},
      {KvSTRING_T, "04 00 01 01 00 00", 1, kvDamaged, 5, 0},
      {KvSTRING_T, "06 00 FD 01 61 00 00 00", 1, kvDamaged, 7, 0},
      {KvSTRING_T, "04 00 61 00 62 00", 3, kvDamaged, 5, 0},
      {KvSTRING_T, "05 00 01 01 FF 00 FE", 1, kvDamaged, 6, 0},
      {KvSTRING_T, "05 00 01 01 61 FF FE", 1, kvDamaged, 6, 0},
      {KvSTRING_T, "04 00 01 01 00 FE", 1, kvDamaged, 5, 0},
      // Lengths.
      {KvSTRING_T, "00 00", 1, kvDamaged, 0, 0},
      {KvSTRING_T, "03 00 01 01 FF", 1, kvDamaged, 0, 0},
      {KvSTRING_T, "04 00 01 01 00 FF 04", 0, kvBufferShort, 6, 1},
      {KvSTRING_T, "04 00 01 01 00 FF 09 00 01 01 00 FF", 2, kvBufferShort, 8, 1},
      // 16-bit units in an 8-bit string.
      {KvISTRING_T, "04 00 01 01 00 FF 06 00 FD 01 61 00 00 FF", 2, kvDamaged, 8, 1},
      {KvCASEISTRING_T, "05 00 01 01 61 00 FF", 1, kvOk, 0, 1},
      // Blobs: past their run, a length that none has, a run that ends early; room at its end.
      {KvBLOB_T, "05 00 00 00 01 00 00 00 41", 1, kvOk, 0, 1},
      {KvBLOB_T, "05 00 00 00 02 00 00 00 41 42", 1, kvDamaged, 4, 0},
      {KvBLOB_T, "04 00 00 00 FF FF FF FF", 1, kvOk, 0, 1},
      {KvBLOB_T, "04 00 00 00 FE FF FF FF", 1, kvDamaged, 4, 0},
      {KvBLOB_T, "05 00 00 00 01 00 00 00 41", 2, kvDamaged, 9, 1},
      {KvBLOB_T, "07 00 00 00 01 00 00 00 41 00 00", 1, kvOk, 0, 1},
      {KvBLOB_T, "07 00 00 00 01 00 00 00 41 00 00", 0, kvDamaged, 9, 1},
      {KvBLOB_T, "00 00 00 00", 0, kvDamaged, 4, 0},
      {KvBLOB_T, "FB FF FF FF FF FF FF FF", 1, kvBufferShort, 4, 0},
      {KvBLOB_T, "FC FF FF FF FF FF FF FF", 1, kvOutOfRange, 0, 0},
      // Fixed widths.
      {Kv4B_T, "01 00 00 00 02", 0, kvBufferShort, 4, 1},
      {Kv4B_T, "", 0, kvBufferShort, 0, 0},
  };
  for (const Case& each : cases) {
    CAPTURE(each.hex);
    CAPTURE(each.count);
    const KvMeasured run = Measure(each.id, FromHex(each.hex), each.count);
    CHECK(run.status == each.status);
    CHECK(run.offset == each.offset);
    CHECK(run.count == each.found);
    CHECK((run.status == kvOk) == (std::strlen(run.reason) == 0));
  }
  CHECK(Measure(KvISTRING_T, FromHex("00 06 FD 01 61 00 00 FF "), 1, 2).status == kvDamaged);
  CHECK(std::strcmp(Measure(KvBLOB_T, FromHex("04 00 00 00 FE FF FF FF "), 1).reason,
                    "a length that no blob has") == 0);
  CHECK(Measure(KvSTRING_T, FromHex("04 00 61 62 63 00 "), 1).oldForm);
  CHECK_FALSE(Measure(KvSTRING_T, FromHex("04 00 01 01 00 FF "), 1).oldForm);
}

namespace {

// Strings whose stored form is `bytes` long: one megabyte of them, mapped over and over. Their
// texts are never written: only what is looked at takes memory.
class ManyStrings {
 public:
  static constexpr std::size_t kBlock = 65536;
  static constexpr std::size_t kPart = 16 * kBlock;

  explicit ManyStrings(o_u8b bytes) : size_(static_cast<std::size_t>(bytes)) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    for (std::size_t at = 0; at < kPart; at += kBlock) {
      const unsigned char header[] = {0xFE, 0xFF, 1, 1};
      std::fseek(file.get(), static_cast<long>(at), SEEK_SET);
      std::fwrite(header, 1, sizeof header, file.get());
      std::fseek(file.get(), static_cast<long>(at + kBlock - 1), SEEK_SET);
      std::fputc(0xFF, file.get());
    }
    std::fflush(file.get());
    constexpr int kFlags = MAP_PRIVATE | MAP_NORESERVE;
    begin_ = mmap(nullptr, size_, PROT_NONE, kFlags | MAP_ANONYMOUS, -1, 0);
    if (begin_ == MAP_FAILED) return;
    for (std::size_t at = 0; at < size_; at += kPart) {
      mmap(static_cast<char*>(begin_) + at, kPart, PROT_READ, kFlags | MAP_FIXED,
           fileno(file.get()), 0);
    }
  }
  ~ManyStrings() { munmap(begin_, size_); }
  ManyStrings(const ManyStrings&) = delete;
  ManyStrings& operator=(const ManyStrings&) = delete;

  const void* Bytes() const { return begin_; }

 private:
  void* begin_;
  std::size_t size_;
};

}  // namespace

TEST_CASE("a run of 4 GiB and more is refused") {
  constexpr o_u8b kBytes = (o_u8b{1} << 32) + ManyStrings::kPart;
  constexpr auto kLength = static_cast<std::size_t>(kBytes);
  if (kLength != kBytes) return;  // a host that has no such runs
  const o_4b number = 1;          // of numbers nothing is read
  CHECK(Refusal(KvMeasureStored(Types(), Kv4B_T, &number, kLength, 0, 0)) == kvOutOfRange);
  CHECK(KvMeasureStored(Types(), Kv1B_T, &number, UINT_MAX, 0, 0).count == UINT_MAX);
  const ManyStrings strings(kBytes);
  const KvMeasured run = KvMeasureStored(Types(), KvSTRING_T, strings.Bytes(), kLength, 0, 0);
  CHECK(run.status == kvOutOfRange);
  CHECK(run.count == 65535);
}

TEST_CASE("days and hours that there are not are told and not refused") {
  struct Case {
    char id;
    const char* hex;
    unsigned strange;
    std::size_t first;
  };
  const Case cases[] = {
      {KvDATE_T, "E8 07 0D 1D ", 1, 0},                          // month 13
      {KvDATE_T, "E8 07 02 1D E7 07 02 1D ", 1, 4},              // 29 February of 2024 and of 2023
      {KvDATE_T, "E8 07 FF 1F 00 80 80 80 FF FF 02 1D ", 0, 0},  // wildcards and the null
      {KvTIME_T, "17 3B 3B 18 00 00 ", 1, 3},
      {KvDATIME_N_T, "E8 07 01 01 00 00 00 00 CA 9A 3B ", 1, 0},  // a second of nanoseconds
      {D_DATE_T, "DC 05 02 1D DD 05 02 1D ", 1, 4},               // a Julian leap day, and none
      {D_TIME_T, "02 00 19 3B 3B 63 02 00 1A 00 00 00 ", 1, 6},   // 23 and 24 o'clock in zone 2
      {KvTIMESPAN_T, "E8 07 0D 63 63 00 00 00 00 00 00 ", 0, 0},
      {KvDATIME_T, "E7 07 02 1C 00 00 00 E7 07 02 1D 00 00 00 ", 1, 7},
      {D_TIMESTAMP_T, "E8 07 01 01 00 00 17 00 00 00 E8 07 01 01 00 00 18 00 00 00 ", 1, 10},
  };
  for (const Case& each : cases) {
    CAPTURE(each.hex);
    const KvMeasured run = Measure(each.id, FromHex(each.hex), 0);
    CHECK(run.status == kvOk);
    CHECK(run.strange == each.strange);
    CHECK(run.firstStrange == each.first);
  }
}

TEST_CASE("the order of stored values is total, whatever the bytes are") {
  std::mt19937 random(5);
  for (const char id : {KvSTRING_T, KvISTRING_T, KvBLOB_T, KvDATE_T, KvDOUBLE_T, KvOBJID_T,
                        KvBOOLEAN_T, KvNULL_INT_T, D_TIME_T, KvRES_T}) {
    CAPTURE(int(id));
    std::vector<Bytes> keys;
    if (id != KvRES_T) {
      const Values values(id, support::OrdinaryValues(id, 30));
      for (unsigned i = 0; i < values.Count(); ++i) keys.push_back(values.Stored(0, i));
    }
    for (unsigned i = 0; i < 30; ++i) {
      Bytes key = i < keys.size() && random() % 4 != 0 ? keys[i] : Bytes(random() % 12);
      if (!key.empty()) key[random() % key.size()] = static_cast<unsigned char>(random());
      keys.push_back(key);
    }
    const auto order = [&](const Bytes& a, const Bytes& b) {
      return KvOrderStored(Types(), id, a.data(), a.size(), b.data(), b.size(), 0);
    };
    for (const Bytes& a : keys) {
      for (const Bytes& b : keys) {
        const int ab = order(a, b);
        CHECK((ab == 0) == (a == b));
        CHECK(order(b, a) == -ab);
        if (ab > 0) continue;
        const bool transitive = std::none_of(keys.begin(), keys.end(), [&](const Bytes& c) {
          return order(b, c) <= 0 && order(a, c) > 0;
        });
        CHECK(transitive);
      }
    }
  }
}

TEST_CASE("texts stand by what they are: letters, plain bytes, those of the defaults, damage") {
  const char* const kAscending[] = {"05 00 01 01 62 00 FF ",
                                    "05 00 00 01 61 00 FF ",
                                    "05 00 01 FF 61 00 FF ",
                                    "05 00 FF 01 61 00 FF ",
                                    "04 00 01 01 00 FF 04 00 01 01 00 FF ",
                                    "05 00 01 01 61 00 FE "};
  const auto order = [](const char* a, const char* b) {
    const Bytes left = FromHex(a), right = FromHex(b);
    return KvOrderStored(Types(), KvSTRING_T, left.data(), left.size(), right.data(), right.size(),
                         0);
  };
  for (const char* const& a : kAscending) {
    for (const char* const& b : kAscending) CHECK(order(a, b) == (&a > &b) - (&a < &b));
  }
  CHECK(order("05 00 00 FE 63 00 FF ", kAscending[1]) == -1);  // bytes in the order of letters
}

TEST_CASE("sound stored values order as their row does") {
  for (char id = 0; id < support::kRowCount; ++id) {
    CAPTURE(std::string(Types().NameGet(id, nullptr)));
    const Values values(id, support::OrdinaryValues(id, 30));
    for (unsigned i = 1; i < values.Count(); ++i) {
      const Bytes a = values.Stored(2, i - 1);
      const Bytes b = values.Stored(2, i);
      // Plain bytes beside other texts are in no order with them.
      if (id == KvSTRING_T && (a[2] == 0 || b[2] == 0)) continue;
      const int order = Types().Cmp(id, values[i - 1], values[i], 0x10, 1, 8);
      if (order != 0) {
        CHECK(KvOrderStored(Types(), id, a.data(), a.size(), b.data(), b.size(), 2) ==
              (order < 0 ? -1 : 1));
      }
    }
  }
}

TEST_CASE("types are found by either name, and no other id is one") {
  const KvTypeMgr old(3);
  const KvTypeMgr four(4);  // the first of the present catalogue
  for (int number = -128; number < 128; ++number) {
    const auto id = static_cast<char>(number);
    CAPTURE(number);
    // Rows behind those that there are now would be 100 and on, too.
    const int row = number < 100 ? number : std::min(number - 54, int{KvRES_T});
    const int expected = row < 0 || row > KvRES_T ? kvNoSuchType
                         : row == KvRES_T         ? kvNotSupported
                                                  : kvOk;
    CHECK(KvCheckType(Types(), id) == expected);
    CHECK(KvCheckType(four, id) == expected);
    CHECK(KvCheckType(old, id) == (number >= 0 && number < 28 ? kvOk : kvNoSuchType));
    unsigned char byte = 1, room[32] = {};
    if (KvCheckType(old, id) != kvOk)
      CHECK(KvLoadChecked(old, id, room, room + 16, 16, 0, 1).status == kvNoSuchType);
    if (expected == kvOk) continue;
    const KvMeasured none = KvMeasureStored(Types(), id, &byte, 1, 0, 1);
    CHECK(none.status == expected);
    CHECK((none.count | none.bytes | none.offset | none.needed | none.strange |
           none.firstStrange) == 0);
    CHECK(KvLoadChecked(Types(), id, &byte, &byte, 1, 0, 1).status == expected);
    CHECK(Refusal(KvStoredSize(Types(), id, &byte, 1)) == expected);
    CHECK(Refusal(KvStoreChecked(Types(), id, &byte, 1, &byte, 0, 1)) == expected);
    const KvScanned scanned = KvScanChecked(Types(), id, &byte, "1", nullptr);
    CHECK((scanned.status == expected && scanned.position == 0));
  }
  for (char id = 0; id <= KvRES_T; ++id) {
    for (const char* name : {Types().NameGet(id, nullptr), Types().TypeIdNameGet(id, nullptr)}) {
      char found = -1;
      CHECK(KvFindType(Types(), name, found) == kvOk);
      CHECK(found == id);
      CHECK(KvFindType(four, name, found) == kvOk);
      CHECK(KvFindType(old, name, found) == (id < 28 ? kvOk : kvNoSuchType));
    }
  }
  char id = 5;
  CHECK(KvFindType(Types(), "kvstring", id) == kvNoSuchType);
  CHECK(KvFindType(Types(), "", id) == kvNoSuchType);
  CHECK(id == 5);
}

TEST_CASE("the memory form is no stored bytes, and a null pointer no buffer") {
  const KvDate day(2000, 1, 1);
  KvDate other(1999, 1, 1);
  constexpr unsigned char kMemoryForms[] = {8, 9, 10, 15, 0x88};
  for (const unsigned char format : kMemoryForms) {
    unsigned char room[4] = {1, 2, 3, 4};
    CHECK(Refusal(KvMeasureStored(Types(), KvDATE_T, &day, 4, format, 1)) == kvBadArgument);
    CHECK(Refusal(KvStoreChecked(Types(), KvDATE_T, room, 4, &day, format, 1)) == kvBadArgument);
    CHECK(room[0] == 1);
  }
  const unsigned char stored[4] = {};
  CHECK(KvMeasureStored(Types(), KvDATE_T, nullptr, 1, 0, 1).status == kvBadArgument);
  CHECK(KvMeasureStored(Types(), KvDATE_T, nullptr, 0, 0, 1).status == kvBufferShort);
  CHECK(Refusal(KvLoadChecked(Types(), KvDATE_T, nullptr, stored, 4, 0, 1)) == kvBadArgument);
  CHECK(KvStoreChecked(Types(), KvDATE_T, nullptr, 4, &day, 0, 1).status == kvBadArgument);
  CHECK(KvLoadChecked(Types(), KvDATE_T, &other, nullptr, 0, 0, 0).status == kvOk);
  CHECK(Refusal(KvStoredSize(Types(), KvDATE_T, nullptr, 1)) == kvBadArgument);
  CHECK(KvStoredSize(Types(), KvDATE_T, nullptr, 0).status == kvOk);
}

TEST_CASE("a status has its name") {
  // Programs keep the numbers.
  static constexpr struct {
    int number;
    const char* name;
  } kNames[] = {{0, "kvOk"},
                {-2999, "kvNotSupported"},
                {2091, "kvOverflow"},
                {2101, "kvBufferShort"},
                {-2002, "kvBadArgument"},
                {-2005, "kvListEnd"},
                {-2171, "kvNoTimeZone"},
                {-3001, "kvNoSuchType"},
                {-3002, "kvDamaged"},
                {-3003, "kvMismatch"},
                {-3004, "kvTextLeft"},
                {-3005, "kvOutOfRange"},
                {-3006, "kvNothingRead"},
                {-3007, "kvNoMemory"}};
  for (const auto& each : kNames) CHECK(std::string(KvStatusName(each.number)) == each.name);
  CHECK(KvStored().bytes + KvPrinted().length + KvScanned().position == 0);
  CHECK(std::strcmp(KvStatusText(0), "success") == 0);
  CHECK(std::strcmp(KvStatusName(12345), "unknown status") == 0);
}
