// Arbitrary text as a query of a table with a key and three indexes: it is refused with a failure,
// or the walk that the plan takes finds exactly the records that a look at every record finds, once
// each, and each predicate means by itself what it means in the query.
#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include "failure.h"
#include "kv.h"
#include "query.h"
#include "record.h"
#include "require.h"
#include "support/map_store.h"
#include "table.h"

namespace {

using support::Entries;
using support::MapSnapshot;

const char* const kRecords[][5] = {{"1", "Anna", "1999-12-31", "0.5", "-1"},
                                   {"2", "anna", "2000-01-01", "-0.0", "0"},
                                   {"3", "Ann", "2000-02-29", "1e300", "1"},
                                   {"4", "", "1899-12-31", "nan", "127"},
                                   {"5", "Ann\xC3\xA4", "*-*-*", "-Infinity", "{NULL}"},
                                   {"6", "Annab", "2024-02-29", "2.5", "{NULL}"},
                                   {"255", "Zoe", "2024-03-01", "2.5", "5"},
                                   {"256", "Zo\xC3\xAB", "9999-12-31", "0", "5"},
                                   {"65536", "100%", "0001-01-01", "7", "-127"},
                                   {"4294967295", "a_b", "1970-01-01", "8", "6"},
                                   {"77", "it's", "1970-01-02", "9", "7"},
                                   {"78", "a\\b", "1970-01-03", "-9", "8"}};

struct World {
  Table table = MakeTable("id:o_u4b, name:KvString, day:KvDate, size:o_double, mark:KvNull_short",
                          "id", {"name,day", "day,mark", "mark,size"});
  Entries entries;

  World() {
    for (const auto& cells : kRecords) {
      RecordValues values(table);
      for (std::size_t i = 0; i < values.Count(); ++i) values[i].Read(cells[i]);
      const std::string stored = values.Stored();
      const StoredRecord record(table, stored);
      const std::string key = RecordKey(table, record);
      entries[key] = stored;
      for (std::size_t i = 0; i < table.indexes.size(); ++i) {
        entries[EntryKey(table, i, record, key)] = "";
      }
    }
  }
};

std::multiset<std::string> FoundBy(engines::Snapshot& snapshot, const Table& table,
                                   const Query& query, const Plan& plan) {
  std::multiset<std::string> found;
  const Walked walked = Run(snapshot, table, query, plan, [&](const StoredRecord& record) {
    found.insert(RecordKey(table, record));
    return true;
  });
  Require(walked.hits == found.size() && walked.entries >= walked.hits);
  return found;
}

void RequireSamePredicates(const Table& table, const Query& query) {
  for (const Predicate& predicate : query.predicates) {
    const Query alone = ParseQuery(table, predicate.text);
    Require(alone.predicates.size() == 1);
    const Predicate& again = alone.predicates[0];
    Require(again.field == predicate.field && again.bits == predicate.bits &&
            again.constant == predicate.constant);
  }
}

void Try(const World& world, std::string_view text) {
  const Query query = ParseQuery(world.table, text);
  RequireSamePredicates(world.table, query);
  MapSnapshot snapshot(world.entries);
  const Plan plan = MakePlan(snapshot, world.table, query);
  for (const auto& estimate : plan.estimates) Require(!estimate || estimate->fraction <= 1);
  std::multiset<std::string> expected;
  for (const auto& [key, value] : world.entries) {
    if (key[0] != kRecordTag) continue;
    if (Matches(world.table, query, StoredRecord(world.table, value))) expected.insert(key);
  }
  Require(FoundBy(snapshot, world.table, query, plan) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const World world;
  try {
    Try(world, {reinterpret_cast<const char*>(data), size});
  } catch (const Failure&) {
  }
  // A query sets the wildcards of the whole process; without it there are none.
  KvString::SetAsterisk(KvChar('\0'));
  KvString::SetQuestion(KvChar('\0'));
  KvString::SetEscape(KvChar('\0'));
  return 0;
}
