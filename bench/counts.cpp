// kv_counts: short operations for counting their instructions under valgrind (bench/counts.py), a
// figure that a busy machine does not disturb.
//
//   kv_counts                   names the operations, a line each
//   kv_counts vectors           names the vector instructions that the library uses
//   kv_counts NUMBER TIMES      runs the operation of that line so many times

#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "kv.h"
#include "zbsvectors.h"

namespace {

// What an operation computed is used, so that no compiler leaves it out.
volatile long long result;

const KvTypeMgr& Types() {
  return *DefaultTypeMgr(nullptr);
}

// What all operations work on, made once.
struct Values {
  Values() {
    types.Store(KvSTRING_T, stored, &text, 1, 1);
    types.Store(KvSTRING_T, storedOther, &other, 1, 1);
    dateTime.PrintToKvString(dateText, kIso);
  }

  static constexpr const char* kIso = "%Y-%m-%dT%H:%M:%S";
  const KvTypeMgr& types = Types();
  o_4b number = 1234567, otherNumber = 1234568;
  o_double real = 1234.5678;
  KvString text = KvString("customer-000123-name");
  KvString other = KvString("customer-000124-name");
  KvString numberText = KvString(1234567);
  KvString realText = KvString(1234.5678);
  KvCaseIString folded = KvCaseIString("Donaudampfschiff");
  KvCaseIString otherFolded = KvCaseIString("donaudampfSCHIFF");
  KvDateTime dateTime = KvDateTime(KvDate(2460370), KvTime(45296));
  KvString dateText, out;
  unsigned char stored[64] = {}, storedOther[64] = {}, place[64] = {};
};

struct Operation {
  const char* name;
  long long (*run)(Values& all);
};

constexpr Operation kOperations[] = {
    {"Store of one o_4b",
     [](Values& all) -> long long {
       return all.types.Store(Kv4B_T, all.place, &all.number, 2, 1);
     }},
    {"Load of one o_4b",
     [](Values& all) -> long long {
       return all.types.Load(Kv4B_T, &all.number, all.stored, 2, 1);
     }},
    {"Cmp of one o_4b",
     [](Values& all) -> long long {
       return all.types.Cmp(Kv4B_T, &all.number, &all.otherNumber, 0, 1, 8);
     }},
    {"Hash of one o_4b",
     [](Values& all) -> long long {
       int status;
       return all.types.Hash(Kv4B_T, 4, &all.number, 1, 8, status);
     }},
    {"sort key of one o_4b",
     [](Values& all) -> long long {
       std::size_t size;
       KvSortKey({.type = Kv4B_T}, &all.number, 4, 8, all.place, sizeof all.place, size);
       return static_cast<long long>(size);
     }},
    {"sort key of a KvString of 20",
     [](Values& all) -> long long {
       std::size_t size;
       KvSortKey({.type = KvSTRING_T}, &all.text, 0, 8, all.place, sizeof all.place, size);
       return static_cast<long long>(size);
     }},
    {"print of o_4b",
     [](Values& all) -> long long {
       return all.types.PrintToKvString(Kv4B_T, all.out, &all.number, nullptr, 1).IsEmpty();
     }},
    {"scan of o_4b",
     [](Values& all) -> long long {
       all.types.ScanFromKvString(Kv4B_T, &all.number, all.numberText, nullptr, 1);
       return all.number;
     }},
    {"print of o_double",
     [](Values& all) -> long long {
       return all.types.PrintToKvString(KvDOUBLE_T, all.out, &all.real, nullptr, 1).IsEmpty();
     }},
    {"scan of o_double",
     [](Values& all) -> long long {
       all.types.ScanFromKvString(KvDOUBLE_T, &all.real, all.realText, nullptr, 1);
       return all.real > 0;
     }},
    {"print of KvDateTime, ISO",
     [](Values& all) -> long long {
       return all.dateTime.PrintToKvString(all.out, Values::kIso).IsEmpty();
     }},
    {"scan of KvDateTime, ISO",
     [](Values& all) -> long long {
       all.dateTime.ScanFromKvString(all.dateText, Values::kIso);
       return all.dateTime.date.day;
     }},
    {"copy of a KvString of 20",
     [](Values& all) -> long long { return KvString(all.text).GetBufferSize(); }},
    {"Find in a KvString of 20",
     [](Values& all) -> long long { return all.text.Find(all.numberText); }},
    {"compare of two KvString",
     [](Values& all) -> long long { return all.text.Compare(all.other, -1, 0); }},
    {"Cmp of two stored KvString",
     [](Values& all) -> long long {
       int order;
       all.types.Cmp(KvSTRING_T, 64, all.stored, 64, all.storedOther, 0, 1, 1, order);
       return order;
     }},
    {"hash of a KvString of 20", [](Values& all) -> long long { return HashKvString(all.text); }},
    {"compare of two KvCaseIString",
     [](Values& all) -> long long { return all.folded.Compare(all.otherFolded); }},
    {"UTF-8 of 20 bytes to a KvString",
     [](Values& all) -> long long {
       return KvMBS2KvString(
           "stra\xC3\x9F"
           "e-000123-name",
           all.out, 19);
     }},
    {"KvString of 20 to UTF-8",
     [](Values& all) -> long long {
       return KvString2KvMBS(all.text, reinterpret_cast<char*>(all.place), sizeof all.place);
     }},
};

}  // namespace

int main(int count, char** arguments) {
  if (count == 2) {
    constexpr const char* kSets[] = {"plain", "ssse3", "avx2", "avx512", "vbmi2"};
    std::puts(kSets[static_cast<unsigned>(kv::Vectors())]);
    return 0;
  }
  if (count != 3) {
    for (const Operation& operation : kOperations) std::puts(operation.name);
    return 0;
  }
  const unsigned long number = std::strtoul(arguments[1], nullptr, 10);
  if (number >= std::size(kOperations)) return 2;
  static Values all;
  for (long left = std::strtol(arguments[2], nullptr, 10); left > 0; --left) {
    result = kOperations[number].run(all);
  }
  return 0;
}
