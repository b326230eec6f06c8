// Object ids, class ids and references: arithmetic over the carry, validity, text, and order, hash,
// bounds and steps that are the same in every form.
#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "kvref.h"
#include "kvstring.h"
#include "support/types.h"

namespace {

using support::Types;

template <class Identity>
std::string Printed(const Identity& id, const char* format = nullptr) {
  KvString text("rest");
  return id.PrintToKvString(text, format).StrGet();
}

template <class Identity>
Identity Random(std::mt19937& random) {
  const o_u4b parts[] = {0, 1, 2, 255, 256, 65534, 65535, 0x10000, 0xFFFFFFFF};
  const auto wide = [&] { return parts[random() % 9]; };
  const auto narrow = [&] { return static_cast<o_u2b>(wide()); };
  if constexpr (requires(Identity id) { id.database; }) {
    return {wide(), wide(), narrow(), narrow(), narrow(), narrow()};
  } else if constexpr (requires(Identity id) { id.version; }) {
    return {narrow(), narrow()};
  } else {
    return {wide(), wide(), narrow()};
  }
}

}  // namespace

TEST_CASE("object numbers carry and borrow across the words") {
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    KvObjId id = Random<KvObjId>(random);
    const auto count = static_cast<short>(random());
    const o_u8b before = o_u8b{id.high} * 0x100000000 + id.low;
    const o_u4b block = id.block;
    id += count;
    const o_u8b after = (before + static_cast<o_u8b>(count)) % 0x1000000000000;
    REQUIRE((id.low == after % 0x100000000 && id.high == after / 0x100000000));
    REQUIRE(id.block == block);
  }
  KvObjId id{7, 0xFFFFFFFF, 1};
  CHECK(++id == KvObjId{7, 0, 2});
  CHECK(--id == KvObjId{7, 0xFFFFFFFF, 1});
  CHECK((KvObjId{1, 0, 1} += -1) == KvObjId{1, 0xFFFFFFFF, 0});
  id.SetHighestValue();
  CHECK(id == KvObjId{0, 0xFFFFFFFF, 0xFFFF});
  CHECK(KvClassId{65535, 65535} != KvClassId{0, 0});
  CHECK((KvClassId{0, 0} > KvClassId{65535, 65535}));
  CHECK((KvClassId{65535, 65534} != KvClassId{2, 1}) == 1);
}

TEST_CASE("references are valid by number, class and database") {
  struct {
    KvRef reference;
    int valid, validOrigin;
  } const cases[] = {{{9, 1, 0, 5, 40, 0}, 1, 1},     {{9, 0, 1, 5, 40, 0}, 1, 1},
                     {{9, 0, 0, 5, 40, 0}, 0, 0},     {{9, 1, 0, 5, 0, 7}, 0, 0},
                     {{9, 1, 0, 65535, 0, 0}, 0, 1},  {{9, 1, 0, 65535, 40, 0}, 0, 1},
                     {{9, 0, 0, 65535, 40, 0}, 0, 0}, {{9, 1, 0, 65534, 40, 0}, 1, 1},
                     {{9, 1, 0, 65534, 0, 0}, 0, 0}};
  for (const auto& one : cases) {
    CAPTURE(Printed(one.reference));
    CHECK(one.reference.IsValid() == one.valid);
    CHECK(one.reference.IsInvalid() == !one.valid);
    CHECK(one.reference.IsValidOriginId() == one.validOrigin);
    CHECK(one.reference.IsInvalidOriginId() == !one.validOrigin);
  }
}

TEST_CASE("references and local references turn into each other field by field") {
  KvLocalRef local;
  local = KvObjId{7, 5, 1};
  local = KvClassId{40, 3};
  CHECK(local.version == 3);
  KvRef reference{1, 2, 3, 4, 5, 6};
  reference = static_cast<unsigned short>(9);
  CHECK(reference == KvRef{1, 2, 3, 9, 5, 0});
  CHECK(reference.version == 6);
  reference = local;
  CHECK(reference.database == 0);
  CHECK(local == reference);
  CHECK(reference == local);
  reference.version = 99;
  CHECK(local == reference);
  reference = static_cast<unsigned short>(1);
  CHECK(local != reference);
  KvLocalRef byObject;
  byObject = KvObjId{1, 2, 3};
  CHECK((byObject.block == 1 && byObject.low == 2 && byObject.high == 3));
  KvLocalRef other = local;
  other = KvClassId{41, 3};
  CHECK(local != other);
}

TEST_CASE("identities print by their directives, nulls as the null print string") {
  const KvRef reference{7, 5, 1, 2, 40, 3};
  CHECK(Printed(KvObjId{7, 5, 1}) == "(1-5#7)");
  CHECK(Printed(KvObjId{4294967295, 4294967295, 65535}) == "(65535-4294967295#4294967295)");
  CHECK(Printed(KvClassId{40, 3}) == "(40v3)");
  CHECK(Printed(reference) == "(2:1-5#7,40v3)");
  CHECK(Printed(KvLocalRef{7, 5, 1, 40, 3}) == "(1-5#7,40)");
  CHECK(Printed(KvLocalRef{7, 5, 1, 40, 3}, "%D") == "0");
  CHECK(Printed(reference, "%hu-%lu#%lu %hu%lu") == "1-5#7 00");
  CHECK(Printed(reference, "%lx%h") == "00");
  CHECK(Printed(reference, "100%% %q %C%") == "100% q 40%");
  // What a class does not have prints as 0; characters print themselves from the first one on.
  CHECK(Printed(KvClassId{40, 3}, "%D:%H-%L#%B,%C") == "0:0-0#0,40");
  CHECK(Printed(KvObjId{7, 5, 1}, "%D,%Cv%V") == "0,0v0");
  CHECK(Printed(reference, "\x01%H") ==
        "\x01"
        "1");
  CHECK(Printed(KvObjId{7, 0, 0}) == "{NULL}");
  CHECK(Printed(KvClassId()) == "{NULL}");
  CHECK(KvObjId().SetNullValue() + KvClassId().SetNullValue() + KvRef().SetNullValue() == 0);
  CHECK(Printed(KvLocalRef()) == "{NULL}");
  CHECK((KvLocalRef() == KvRef{0, 0, 0, 0, 0, 0} && KvRef() == KvLocalRef()));
  CHECK(KvLocalRef().version + KvRef().version == 0);  // which no comparison asks
  KvRef copy = reference;
  KvString text;
  CHECK(std::string(Types().PrintToKvString(KvREF_T, text, &copy, nullptr, 1).StrGet()) ==
        "(2:1-5#7, 40)");
}

TEST_CASE("scanning is the inverse of printing and takes nothing on a mismatch") {
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i) {
    const auto reference = Random<KvRef>(random);
    const auto classId = Random<KvClassId>(random);
    for (const char* format : {"(%D:%H-%L#%B,%Cv%V)", "%hu %lu %lu %% %D%% %C %V"}) {
      KvRef back;
      REQUIRE(back.ScanFromKvString(KvString(Printed(reference, format).c_str()), format) == 0);
      REQUIRE((reference.IsNullValue() ? back.IsNullValue() : back == reference));
    }
    KvClassId back;
    REQUIRE(back.ScanFromKvString(KvString(Printed(classId).c_str())) == 0);
    REQUIRE(back == classId);
  }
  for (const char* bad : {"(1-5#7", "1-5#7)", "(65536-5#7)", "(1-4294967296#7)", "(-1-5#7)", "x"}) {
    KvObjId id{9, 9, 9};
    CAPTURE(bad);
    CHECK(id.ScanFromKvString(KvString(bad)) == kvNotSupported);
    CHECK(id == KvObjId{9, 9, 9});
  }
  KvObjId id{9, 9, 9};
  CHECK(id.ScanFromKvString(KvString("x"), "%B") == kvNotSupported);
  CHECK(KvRef().version == 0);
  CHECK(id.ScanFromKvString(KvString(" ( 1 -5#7 ) and more")) == 0);
  CHECK(id == KvObjId{7, 5, 1});
  KvLocalRef local;  // drops the database
  CHECK(local.ScanFromKvString(KvString("(9:1-5#7,40v3)"), "(%D:%H-%L#%B,%Cv%V)") == 0);
  CHECK((local == KvRef{7, 5, 1, 0, 40, 3} && local.version == 3));
  for (const char* null : {"", "{NULL}, they say"}) {
    id = KvObjId{9, 9, 9};
    CHECK(id.ScanFromKvString(KvString(null)) == 0);
    CHECK(id == KvObjId());
  }
  KvString text("(2:1-5#7, 40)");
  KvRef reference;
  Types().ScanFromKvString(KvREF_T, &reference, text, nullptr, 1);
  CHECK(reference == KvRef{7, 5, 1, 2, 40, 0});
}

TEST_CASE("steps go by class and version") {
  std::vector<KvClassId> steps{{65535, 65535}, {0, 0}, {0, 1}, {4, 65535}, {5, 0}};
  for (const int i : {0, 1, 3}) {
    KvClassId classId = steps[static_cast<std::size_t>(i)];
    CHECK(Types().GetValue(KvCLID_T, &classId, 4, 8, 'N') == 0);
    CHECK(classId == steps[static_cast<std::size_t>(i) + 1]);
  }
  KvClassId last{65535, 65534};
  CHECK(Types().GetValue(KvCLID_T, &last, 4, 8, 'N') == kvOverflow);
}
