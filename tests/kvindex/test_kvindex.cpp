// What kvindex does with tables, files and records, over a store in memory.
#include <doctest/doctest.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "commands.h"
#include "csv_reader.h"
#include "input.h"
#include "load.h"
#include "query.h"
#include "record.h"
#include "support/map_store.h"
#include "table.h"
#include "tools/said.h"
#include "verify.h"

namespace {

using support::MapStore;

struct File {
  explicit File(const std::string& content) { Write(content); }
  ~File() {
    for (const char* end : {"", ".bad", ".said"}) std::filesystem::remove(name + end);
  }
  void Write(const std::string& content) const { std::ofstream(name, std::ios::binary) << content; }
  std::string name =
      std::filesystem::temp_directory_path() / ("kv_test_index" + std::to_string(getpid()));
};

const Table& People() {
  static const Table table = MakeTable("id:o_u4b,day:KvDate,name:KvIString,runs:o_2b[2]", "name,id",
                                       {"day", "runs,id", "id"});
  return table;
}

// A line of a file for each person, in their order.
std::string Lines(unsigned count, const std::string& day) {
  std::string lines;
  for (unsigned i = 0; i < count; ++i) {
    lines += std::to_string(i * 7 % 101) + "," + day + "," + std::string(i % 40, 'n') + ",\"[" +
             std::to_string(i % 3) + "," + std::to_string(i) + "]\"\n";
  }
  return lines;
}

// What `work` writes to stdout and stderr, which goes to a file.
template <class Work>
std::string Told(const std::string& file, Work work) {
  std::fflush(stdout);
  const int before[] = {dup(STDOUT_FILENO), dup(STDERR_FILENO)};
  const int to = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  for (const int each : {STDOUT_FILENO, STDERR_FILENO}) dup2(to, each);
  work();
  std::fflush(stdout);
  for (const int each : {STDOUT_FILENO, STDERR_FILENO}) dup2(before[each - 1], each);
  for (const int each : {to, before[0], before[1]}) close(each);
  return ReadWhole(file);
}

// How many lines were read, records written, there already and bad, and how many lines stderr got;
// the fault of a store that fails.
std::string Loaded(MapStore& store, const std::string& file, bool replace = false,
                   const Table& table = People()) {
  std::string result;
  const std::string lines = Told(file + ".said", [&] {
    try {
      const LoadCounts counts =
          LoadFile(store, table, {.file = file, .badFile = file + ".bad", .replace = replace});
      result = std::to_string(counts.lines) + " " + std::to_string(counts.records) + " " +
               std::to_string(counts.there) + " " + std::to_string(counts.bad);
    } catch (const engines::StoreError& error) {
      result = error.what();
    } catch (const Failure& failure) {
      result = failure.what;
    }
  });
  return result + ", " + std::to_string(std::count(lines.begin(), lines.end(), '\n'));
}

std::string Verdict(MapStore& store, bool repair = false) {
  const Verified found = Verify(store, People(), repair);
  std::string text = std::to_string(found.records) + " " + std::to_string(found.entries) + " " +
                     std::to_string(found.faults) + " " + std::to_string(found.repaired) + "\n";
  for (const std::string& report : found.reports) text += report + "\n";
  return text;
}

}  // namespace

TEST_CASE("the definition of a table comes back, and a damaged one is refused") {
  MapStore store;
  CHECK(Said([&] { return LoadTable(store), ""; }) ==
        "1: the store holds no table; kvindex create makes one");
  SaveTable(store, People());
  const auto [key, sound] = *store.entries.begin();
  CHECK(key == std::string("\0table", 6));
  CHECK(SchemaText(LoadTable(store).schema) == SchemaText(People().schema));
  CHECK((LoadTable(store).key == People().key && LoadTable(store).indexes == People().indexes));
  const auto changed = [&, &key = key, &sound = sound](const std::string& from,
                                                       const std::string& to) {
    store.entries[key] = sound;
    REQUIRE(sound.find(from) != std::string::npos);
    store.entries[key].replace(sound.find(from), from.size(), to);
    return Said([&] { return LoadTable(store), ""; });
  };
  for (const auto& [from, to] :
       std::vector<std::pair<std::string, std::string>>{{"{", ""},
                                                        {sound, "[1]"},
                                                        {sound, ""},
                                                        {"\"version\":1", "\"version\":\"1\""},
                                                        {"\"sortKeys\":", "\"sortKeys\":0."},
                                                        {"\"name,id\"", "7"},
                                                        {"\"day\"", "3"},
                                                        {"[\"day\",\"runs,id\",\"id\"]", "\"day\""},
                                                        {"\"schema\":", "\"sch\":"}}) {
    CHECK(changed(from, to) == "1: the definition of the store's table is damaged");
  }
  const std::string other = "1: the store's table was made by another version of kvindex";
  CHECK(changed("\"version\":1", "\"version\":2") == other);
  CHECK(changed("\"sortKeys\":", "\"sortKeys\":1") == other);
  std::string many = "a:o_2b";
  std::vector<std::string> indexes;
  for (unsigned i = 0; i < 65; ++i)
    indexes.push_back("a" + std::to_string(i)), many += "," + indexes.back() + ":o_2b";
  CHECK(Said([&] { return MakeTable(many, "a", indexes), ""; }) ==
        "2: a table has at most 64 indexes");
  indexes.pop_back();
  CHECK(MakeTable(many, "a", indexes).indexes.size() == 64);
}

TEST_CASE("a load keeps within the engine's limits, whatever they are") {
  const File file("1\n2\n3\n");
  MapStore two;
  two.limits.batchWrites = 2;  // a record without entries, and the mark
  CHECK(Loaded(two, file.name, false, MakeTable("id:o_u4b", "id", {})) == "3 3 0 0, 0");
  // A key about as long as its record: neither makes up for the other.
  MapStore large;
  large.limits.batchBytes = 20000;
  std::string names;
  for (int i = 100; i < 200; ++i) names += std::to_string(i) + std::string(200, 'n') + "\n";
  file.Write(names);
  CHECK(Loaded(large, file.name, false, MakeTable("name:KvString", "name", {})) ==
        "100 100 0 0, 0");
  for (const bool atomic : {true, false}) {
    for (const std::size_t writes : {7U, 8U, 9U, 11U, 30U}) {
      for (const std::size_t bytes : {700U, 5000U}) {
        CAPTURE(writes);
        CAPTURE(bytes);
        MapStore store;
        store.limits = {511, 1000, writes, bytes, atomic};
        file.Write(Lines(60, "2024-01-01"));
        CHECK(Loaded(store, file.name) == "60 60 0 0, 0");
        CHECK(Loaded(store, file.name) == "60 0 60 0, 0");
        // Another day and other runs: two entries go and two come.
        file.Write(std::regex_replace(Lines(60, "2023-12-31"), std::regex("\\["), "[1") + "1,2");
        CHECK(Loaded(store, file.name) == "61 0 0 61, 20");
        CHECK(store.entries.size() == 4 * 60);
        CHECK(Loaded(store, file.name, true) == "61 60 0 1, 1");
        CHECK(Verdict(store) == "60 180 0 0\n");
        CHECK(store.entries.size() == 4 * 60);
      }
    }
  }
}

TEST_CASE("keys and records go in up to the engine's limit, and what is longer is told") {
  const File file("7,2024-01-01," + std::string(60, 'n') + ",\"[1,2]\"\n");
  MapStore whole;
  Loaded(whole, file.name);
  const std::size_t record = whole.entries.begin()->second.size();
  std::size_t longest = 0;
  for (const auto& [key, value] : whole.entries) longest = std::max(longest, key.size());
  const auto said = [&](std::size_t keyBytes, std::size_t valueBytes) {
    MapStore store;
    store.limits.keyBytes = keyBytes;
    store.limits.valueBytes = valueBytes;
    const std::string counts = Loaded(store, file.name);
    return counts + ReadWhole(file.name + ".said");
  };
  const std::string bad = "1 0 0 1, 1kvindex: load: " + file.name + ", line 1: the ";
  const auto takes = [](std::size_t size) {
    return " takes " + std::to_string(size) + " bytes, the engine takes " +
           std::to_string(size - 1) + "\n";
  };
  const std::size_t key = whole.entries.begin()->first.size();
  CHECK(said(longest, record) == "1 1 0 0, 0");
  CHECK(said(longest - 1, record) == bad + "entry in index runs,id" + takes(longest));
  CHECK(said(key - 1, record) == bad + "key" + takes(key));
  CHECK(said(key, record).starts_with(bad + "entry"));
  CHECK(said(longest, record - 1) == bad + "record" + takes(record));
}

TEST_CASE("a load tries again where others write the same records, but not for ever") {
  const File file(Lines(1, "2024-01-01"));
  for (const unsigned refusals : {20U, 21U}) {  // the first try takes all records for new
    MapStore store;
    store.refusals = refusals;
    const bool isDone = refusals == 20;
    CHECK(Loaded(store, file.name) ==
          (isDone ? "1 1 0 0, 0" : "somebody else keeps changing the same records, 0"));
    CHECK(store.entries.size() == (isDone ? 4 : 0));
  }
}

TEST_CASE("a batch may take what the limits say, all of its bytes counted") {
  MapStore store;
  store.entries["k"] = "old";
  const engines::Write write{
      .key = "k", .value = "new", .when = engines::When::kEqual, .expected = "old"};
  const auto said = [&](const engines::Limits& limits) {
    store.limits = limits;
    try {
      return store.Apply({write}).has_value() ? std::string("another") : store.entries["k"];
    } catch (const engines::StoreError& error) {
      return std::string(error.what());
    }
  };
  CHECK(said({0, 3, 1, 7, true}) == "bytes in a key: 1, the engine takes 0");
  CHECK(said({1, 2, 1, 7, true}) == "bytes in a value: 3, the engine takes 2");
  CHECK(said({1, 3, 0, 7, true}) == "writes in a batch: 1, the engine takes 0");
  CHECK(said({1, 3, 1, 6, true}) == "bytes in a batch: 7, the engine takes 6");
  CHECK(said({1, 3, 1, 7, true}) == "new");
  CHECK(said({1, 3, 1, 7, true}) == "another");
  store.limits = {1, 3, 1, 1, true};
  CHECK(!store.Apply({{.key = "k"}}).has_value());  // what goes has a key alone
  CHECK(store.entries.empty());
}

TEST_CASE("a load that broke off goes on behind its last batch") {
  const std::string bad = "bad\n\"1\n";
  std::string text = Lines(101, "2024-01-01");
  text.insert(Lines(40, "2024-01-01").size(), bad);
  // The day in front, as the first line says.
  std::istringstream lines(text + bad);
  std::string content = "\uFEFFday,id,name,runs\n";
  for (std::string line; std::getline(lines, line);) {
    const std::size_t day = line.find(",2024-01-01,");
    if (day != std::string::npos)
      line = "2024-01-01," + line.substr(0, day) + line.substr(day + 11);
    content += line + "\n";
  }
  const File file(content);
  MapStore whole;
  CHECK(Loaded(whole, file.name) == "105 101 0 4, 4");
  for (const bool atomic : {true, false}) {
    for (unsigned batches = 0; batches < (atomic ? 10 : 30); batches += atomic ? 3 : 4) {
      CAPTURE(batches);
      MapStore store;
      store.limits = {511, 1000, 41, 100000, atomic};
      store.left = batches;
      std::filesystem::remove(file.name + ".bad");
      CHECK(Loaded(store, file.name).starts_with("full, "));
      const bool marked = std::any_of(store.entries.begin(), store.entries.end(),
                                      [](const auto& entry) { return entry.first[0] == 0; });
      store.left = ~0U;
      // Without a common commit some of the last batch may be there, which is not counted.
      const std::string again = Loaded(store, file.name);
      CHECK(again.starts_with(atomic ? "105 101 0 4, " : "105 "));
      CHECK(again.find(" 4, ") != std::string::npos);
      CHECK(marked == (batches >= (atomic ? 1 : 5)));
      CHECK(store.entries == whole.entries);
      CHECK(ReadWhole(file.name + ".bad") == bad + bad);
    }
  }
}

TEST_CASE("a file is the same again by its size and its first 64 KiB") {
  MapStore marked;
  marked.left = 1;
  const File letter("a");
  Loaded(marked, letter.name);
  // The published FNV-1a of "a": a load that another release began is found.
  const std::string key("\0load1-12638187200555641996", 27);
  CHECK(marked.entries.begin()->first == key);
  marked.left = ~0U;
  for (const char* damaged : {"", "[1]"}) {
    marked.entries[key] = damaged;
    CHECK(Loaded(marked, letter.name) == "1 0 0 1, 1");
  }
  std::string content = "1,2024-01-01,a,\"[1,2]\"\n";
  while (content.size() < 70000) content += "bad\n";
  for (const std::size_t changed : {65535U, 65536U}) {
    const File file(content);
    MapStore store;
    store.left = 1;
    Loaded(store, file.name);
    store.left = ~0U;
    content[changed] = content[changed] == '\n' ? 'x' : '\n';
    file.Write(content);
    Loaded(store, file.name);
    const bool goesOn = ReadWhole(file.name + ".said").find("going on there") != std::string::npos;
    CHECK(goesOn == (changed == 65536));
  }
}

TEST_CASE("the program's verdict is its status, until all is repaired") {
  const std::string folder =
      std::filesystem::temp_directory_path() / ("kv_test_verify" + std::to_string(getpid()));
  const std::string url = "lmdb:" + folder;
  int status = 0;
  const auto told = [&](std::vector<std::string> words) {
    std::vector<char*> all;
    words.insert(words.begin(), "kvindex");
    for (std::string& word : words) all.push_back(word.data());
    return Told(folder + ".said",
                [&] { status = RunProgram(KvIndex(), static_cast<int>(all.size()), all.data()); });
  };
  CHECK(told({"create", url, "--schema", "id:o_u1b", "--key", "id", "--index", "id"}) == "");
  // A record with its entry, and an entry that breaks off.
  engines::OpenStore(url, {})->Apply(
      {{.key = "\1\1", .value = "\1"}, {.key = "\2\1\1", .value = ""}, {.key = "\2", .value = ""}});
  const std::string fault = "kvindex: verify: index id: entry 02 has no record\n";
  const std::string counts = "1 records, 2 entries, 1 faults";
  CHECK((told({"verify", url}) == fault + counts + "\n" && status == 1));
  CHECK((told({"verify", url, "--repair"}) == fault + counts + ", 1 repaired\n" && status == 0));
  CHECK((told({"verify", url}) == "1 records, 1 entries, 0 faults\n" && status == 0));
  std::filesystem::remove_all(folder);
  std::filesystem::remove(folder + ".said");
}

TEST_CASE("neither readers nor lines at fault keep memory, nor their file") {
  std::string text;
  for (int i = 0; i < 40; ++i) text += std::string(5000, 'x') + (i == 39 ? "\n" : "\"\n");
  const File file(text);
  std::size_t used[2] = {};
  for (std::size_t& each : used) {
    CsvLine line;
    for (int i = 0; i < 20; ++i) {
      for (CsvReader reader(file.name, ',', 0, 1); reader.Next(line);) CHECK(line.line <= 40);
      MapStore store;
      CHECK(Loaded(store, file.name) == "40 0 0 40, 20");
    }
    each = mallinfo2().uordblks + mallinfo2().hblkhd;
  }
  CHECK(used[1] < used[0] + 50000);
}

TEST_CASE("a load tells its rate and the time left, as much as fits") {
  LoadSpan span{200, 500, 200, 600, 1000, 91};
  const std::string rest = " 60 %, 1:31 left", rate = "3 a second, " + rest;
  const std::string whole = "kvindex: load: 500 lines, " + rate;
  for (const auto& [columns, text] :
       std::vector<std::pair<std::size_t, std::string>>{{std::string::npos, whole},
                                                        {whole.size() + 1, whole},
                                                        {whole.size(), rate},
                                                        {rate.size() + 1, rate},
                                                        {rate.size(), rest},
                                                        {17, rest},
                                                        {16, rest.substr(0, 15)}}) {
    CHECK(ProgressText(span, columns) == text);
  }
  span.offset = 2000;  // the file has grown
  CHECK(ProgressText(span, 20) == "200 %, 0:00 left");
  span.size = 0;
  CHECK(ProgressText(span, 99) == "kvindex: load: 500 lines, 3 a second");
}

TEST_CASE("a damaged index is told entry by entry, and mended") {
  const File file(Lines(300, "2024-01-01"));
  MapStore store;
  Loaded(store, file.name);
  const support::Entries sound = store.entries;
  CHECK(Verdict(store, true) == "300 900 0 0\n");
  std::vector<std::string> keys;
  for (const auto& [key, value] : sound) keys.push_back(key);
  const auto hex = [](const std::string& key) {
    const Bytes bytes(key.begin(), key.end());
    return key.size() > 32 ? ToHex(bytes.data(), 32) + "..." : ToHex(bytes);
  };
  const std::string first = keys[0], second = keys[1], last = keys.back();
  const StoredRecord record(People(), sound.at(first));
  const std::string lost = EntryKey(People(), 1, record, first);
  const auto damaged = [&](const std::string& key, const std::string& value, bool repair) {
    store.entries = sound;
    store.entries.erase(lost);
    store.entries[key] = value;
    return Verdict(store, repair);
  };
  const std::string missing = "record " + hex(first) + ": entry " + hex(lost) + " is missing\n";
  CHECK(damaged("\x05", "", false) == "300 899 1 0\n" + missing);
  CHECK(damaged(last + "x", "", true) ==
        "300 900 2 2\n" + missing + "index id: entry " + hex(last + "x") + " has no record\n");
  CHECK(Verdict(store) == "300 900 0 0\n");
  CHECK(damaged("\x02z", "", true) ==
        "300 900 2 2\n" + missing + "index day: entry " + hex("\x02z") + " has no record\n");
  CHECK(damaged(first + "x", sound.at(second), true) ==
        "301 899 2 1\nrecord " + hex(first + "x") + ": its key is not that of its fields\n" +
            missing);
  CHECK(damaged(second, "ab", true) ==
        "300 899 2 1\nrecord " + hex(second) + ": the record ends in field 'id'\n" + missing);
  CHECK(damaged(second, sound.at(second) + "ab", true) ==
        "300 899 2 1\nrecord " + hex(second) + ": 2 bytes behind the last field\n" + missing);
  const Table plain = MakeTable("id:o_u1b,name:KvString", "name", {});
  RecordValues values(plain);
  values[1].Read("a");
  std::string ofBytes = values.Stored();
  ofBytes[3] = 0;  // its code set
  CHECK(Said([&] { return RecordKey(plain, StoredRecord(plain, ofBytes)); }) ==
        "1: field 'name' has no sort key (status " + std::to_string(kvNotSupported) + ")");
  store.entries = sound;
  const std::string moved =
      EntryKey(People(), 2, StoredRecord(People(), sound.at(second)), second).substr(0, 5) +
      first.substr(1);
  store.entries[moved] = "";
  CHECK(Verdict(store, true) ==
        "300 901 1 1\nindex id: entry " + hex(moved) + " is not that of its record\n");
  CHECK(store.entries == sound);
  // No walk shows what a crash left, nor a record by an entry of what it was before.
  store.entries[moved] = store.entries[last + "x"] = "";
  const auto snapshot = store.TakeSnapshot();
  const Query query = ParseQuery(People(), "id >= 0");
  const auto any = [](const StoredRecord&) { return true; };
  const Walked walked = Run(*snapshot, People(), query, MakePlan(*snapshot, People(), query), any);
  CHECK((walked.entries == 902 - 600 && walked.hits == 300));
  store.entries = sound;
  for (const std::string& key : keys)
    if (key[0] > 1) store.entries.erase(key);
  const std::string verdict = Verdict(store, true);
  CHECK(verdict.starts_with("300 0 900 900\n" + std::string("record ") + hex(first)));
  CHECK(std::count(verdict.begin(), verdict.end(), '\n') == 1 + 20);
  CHECK(store.entries == sound);
}
