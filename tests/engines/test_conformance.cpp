// One contract, every engine: the same operations on each store and on a std::map, which must
// agree.
#include <algorithm>
#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "stores.h"

namespace {

using engines::Fault;
using engines::OrderedStore;
using engines::Range;
using engines::Snapshot;
using engines::StoreError;
using engines::When;
using engines::Write;
using test::OverAllStores;

using Model = std::map<std::string, std::string>;  // std::string orders its bytes as memcmp does
using Entries = std::vector<std::pair<std::string, std::string>>;

Entries Scanned(Snapshot& snapshot, const Range& range) {
  Entries found;
  snapshot.Scan(range, [&](std::string_view key, std::string_view value) {
    found.emplace_back(key, value);
    return true;
  });
  return found;
}

Entries Scanned(OrderedStore& store, const Range& range) {
  return Scanned(*store.TakeSnapshot(), range);
}

Entries Expected(const Model& model, const Range& range) {
  Entries found;
  for (const auto& [key, value] : model) {
    if (key >= range.from && (range.end.empty() || key < range.end)) found.emplace_back(key, value);
  }
  if (range.descending) std::reverse(found.begin(), found.end());
  if (found.size() > range.limit) found.resize(range.limit);
  return found;
}

// Short keys over few bytes meet each other often; the bytes are those that orders get wrong.
class Source {
 public:
  std::string Key() {
    static constexpr char kBytes[] = {'\0', '\x01', 'a', '\x7F', '\x80', '\xFF'};
    std::string key;
    for (unsigned size = 1 + Below(4); size > 0; --size) key += kBytes[Below(sizeof kBytes)];
    return key;
  }
  std::string Value() {
    std::string value(Below(20), '\0');
    for (char& byte : value) byte = static_cast<char>(Below(256));
    return value;
  }
  unsigned Below(std::size_t end) {
    return static_cast<unsigned>(std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_));
  }

 private:
  std::mt19937 engine_{20240229};
};

std::vector<Write> RandomBatch(Source& source, const Model& model) {
  std::vector<Write> batch;
  for (unsigned size = 1 + source.Below(12); size > 0; --size) {
    Write write{.key = source.Key()};
    if (source.Below(3) != 0) write.value = source.Value();
    const auto at = model.find(write.key);
    // Conditions that mostly hold, so that batches get through and some fail late.
    if (source.Below(3) == 0) {
      write.when = at == model.end() ? When::kAbsent : When::kEqual;
      if (at != model.end()) write.expected = at->second;
      if (source.Below(15) == 0) write.expected += 'x';
      if (source.Below(15) == 0) write.when = When::kAbsent;
    }
    const auto same = [&](const Write& other) { return other.key == write.key; };
    if (std::none_of(batch.begin(), batch.end(), same)) batch.push_back(write);
  }
  return batch;
}

bool Holds(const Write& write, const Model& model) {
  const auto at = model.find(write.key);
  if (write.when == When::kAbsent) return at == model.end();
  return write.when == When::kAlways || (at != model.end() && at->second == write.expected);
}

// What a batch does to the model. True when it was applied.
bool ApplyToModel(const std::vector<Write>& batch, Model& model) {
  for (const Write& write : batch) {
    if (!Holds(write, model)) return false;
  }
  for (const Write& write : batch) {
    if (write.value) {
      model[write.key] = *write.value;
    } else {
      model.erase(write.key);
    }
  }
  return true;
}

Fault FaultOf(OrderedStore& store, const std::vector<Write>& batch) {
  try {
    store.Apply(batch);
  } catch (const StoreError& error) {
    return error.Why();
  }
  FAIL("the batch was taken");
  return Fault::kOther;
}

}  // namespace

TEST_CASE("random batches, conditions and scans do what they do to a map") {
  OverAllStores([](OrderedStore& store, const std::string&) {
    Source source;
    Model model;
    unsigned refused = 0;
    for (unsigned round = 0; round < 150; ++round) {
      const std::vector<Write> batch = RandomBatch(source, model);
      const Model before = model;
      const auto failed = store.Apply(batch);
      CHECK(ApplyToModel(batch, model) == !failed);
      if (failed) {
        ++refused;
        CHECK_FALSE(Holds(batch[*failed], before));
      }
      const Range range{.from = source.Below(4) == 0 ? "" : source.Key(),
                        .end = source.Below(4) == 0 ? "" : source.Key(),
                        .descending = source.Below(2) == 0,
                        .limit = source.Below(3) == 0 ? source.Below(6) : engines::kUnlimited};
      CHECK(Scanned(store, range) == Expected(model, range));
      const std::string key = source.Key();
      CHECK(store.Get(key) == (model.contains(key) ? std::optional(model[key]) : std::nullopt));
    }
    CHECK(refused > 5);
    CHECK(model.size() > 100);
    CHECK(Scanned(store, {}) == Expected(model, {}));
  });
}

TEST_CASE("a snapshot stays as it was, over many pages and while others write") {
  OverAllStores([](OrderedStore& store, const std::string&) {
    Model model;
    std::vector<Write> batch;
    for (unsigned i = 0; i < 2500; ++i) {
      const std::string key = "k" + std::to_string(10000 + i * 3);
      model[key] = std::string(200, static_cast<char>('a' + i % 26));
      batch.push_back({.key = key, .value = model[key]});
      if (batch.size() == 100) {
        store.Apply(batch);
        batch.clear();
      }
    }
    for (const bool descending : {false, true}) {
      const auto snapshot = store.TakeSnapshot();
      const Range range{.descending = descending};
      CHECK(snapshot->Get("k10003") == model["k10003"]);  // some engines fix it by the first read
      Entries found;
      snapshot->Scan(range, [&](std::string_view key, std::string_view value) {
        found.emplace_back(key, value);
        // Behind and before the scan: gone, changed and new keys, and a read in between.
        if (found.size() % 500 == 0) {
          store.Apply({{.key = "k10000"},
                       {.key = "k10001", .value = "new"},
                       {.key = "k17497", .value = "changed"},
                       {.key = "k17494"}});
          CHECK(snapshot->Get("k10000") == model["k10000"]);
        }
        return true;
      });
      CHECK(found == Expected(model, range));
      CHECK_FALSE(snapshot->Get("k10001").has_value());
      const std::vector<std::string> keys{"k17497", "nothing", "k10000"};
      const auto values = snapshot->GetMany(keys);
      REQUIRE(values.size() == 3);
      CHECK(values[0] == model["k17497"]);
      CHECK_FALSE(values[1].has_value());
      CHECK(values[2] == model["k10000"]);
      CHECK(store.Get("k10001") == "new");
      store.Apply({{.key = "k10000", .value = model["k10000"]},
                   {.key = "k10001"},
                   {.key = "k17497", .value = model["k17497"]},
                   {.key = "k17494", .value = model["k17494"]}});
    }
  });
}

TEST_CASE("absent keys of a batch are asked for, and not what is between them") {
  OverAllStores([](OrderedStore& store, const std::string&) {
    const auto absent = [](const char* key) {
      return Write{.key = key, .value = "v", .when = When::kAbsent};
    };
    for (unsigned round = 0; round < 3; ++round) {
      store.Put("m", "between");
      CHECK_FALSE(store.Apply({absent("a"), absent("z")}).has_value());
      CHECK_FALSE(
          store.Apply({absent("n"), absent("o"), {.key = "m", .value = "again"}}).has_value());
      CHECK(store.Apply({absent("b"), absent("m"), absent("y")}) == 1);
      CHECK(store.Apply({absent("b"), absent("z")}) == 1);
      CHECK(Scanned(store, {}) ==
            Entries{{"a", "v"}, {"m", "again"}, {"n", "v"}, {"o", "v"}, {"z", "v"}});
      for (const char* key : {"a", "m", "n", "o", "z"}) store.Erase(key);
    }
  });
}

TEST_CASE("of writers that expect the same, one wins") {
  OverAllStores([](OrderedStore& store, const std::string& url) {
    constexpr unsigned kThreads = 4;
    constexpr unsigned kRounds = 25;
    // A second door to the same store where another process could have one.
    const bool canShare = !url.starts_with("lmdb:") && !url.starts_with("rocksdb:");
    const auto other = canShare ? engines::OpenStore(url, {}) : nullptr;
    std::atomic<unsigned> firsts = 0;
    std::atomic<unsigned> faults = 0;
    const auto work = [&](unsigned number) {
      OrderedStore& mine = other != nullptr && number % 2 == 1 ? *other : store;
      try {
        const std::string name = std::to_string(number);
        firsts += mine.CompareAndSet("first", std::nullopt, name);
        for (unsigned round = 0; round < kRounds;) {
          const auto was = mine.Get("counter");
          const unsigned next = was ? static_cast<unsigned>(std::stoul(*was)) + 1 : 1;
          if (mine.CompareAndSet("counter", was, std::to_string(next))) ++round;
        }
      } catch (const std::exception& error) {
        MESSAGE(error.what());
        ++faults;
      }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
    CHECK(faults == 0);
    CHECK(firsts == 1);
    CHECK(store.Get("counter") == std::to_string(kThreads * kRounds));
    CHECK_FALSE(store.CompareAndSet("counter", "0", std::nullopt));
    CHECK(store.CompareAndSet("counter", std::to_string(kThreads * kRounds), std::nullopt));
    CHECK_FALSE(store.Get("counter").has_value());
  });
}

TEST_CASE("what is too large or senseless is refused before anything is written") {
  OverAllStores([](OrderedStore& store, const std::string& url) {
    const engines::Limits limits = store.GetLimits();
    CHECK(engines::LongestKey(url) == limits.keyBytes);
    // Bytes that no engine can make shorter.
    std::string longest(limits.keyBytes, '\0');
    std::mt19937 random{7};
    for (char& byte : longest) byte = static_cast<char>(random());
    if (limits.keyBytes < 100000) {
      store.Put(longest, "v");
      CHECK(store.Get(longest) == "v");
      store.Erase(longest);
    }
    const Write good{.key = "good", .value = "v"};
    CHECK(FaultOf(store, {good, {.key = longest + "k", .value = "v"}}) == Fault::kTooLarge);
    CHECK(FaultOf(store, {good, {.key = "", .value = "v"}}) == Fault::kBadBatch);
    CHECK(FaultOf(store, {good, {.key = "k", .value = "1"}, {.key = "k"}}) == Fault::kBadBatch);
    if (limits.batchWrites < 100000) {
      std::vector<Write> batch;
      for (std::size_t i = 0; i < limits.batchWrites; ++i) {
        batch.push_back({.key = "b" + std::to_string(i),
                         .value = std::string(100, 'v'),
                         .when = When::kAbsent});
      }
      CHECK_FALSE(store.Apply(batch).has_value());
      for (Write& write : batch) write = {.key = write.key};
      store.Apply(batch);
      batch.push_back(good);
      CHECK(FaultOf(store, batch) == Fault::kTooLarge);
    }
    if (limits.batchBytes < (1U << 24)) {
      const std::string largest(limits.valueBytes, 'v');
      const std::string rest(limits.batchBytes - limits.valueBytes - 2, 'r');
      store.Apply({{.key = "1", .value = largest}, {.key = "2", .value = rest}});
      CHECK(store.Get("1") == largest);
      store.Apply({{.key = "1"}, {.key = "2"}});
      CHECK(FaultOf(store, {{.key = "1", .value = largest}, {.key = "2", .value = rest + "r"}}) ==
            Fault::kTooLarge);
      CHECK(FaultOf(store, {good, {.key = "k", .value = largest + "v"}}) == Fault::kTooLarge);
    }
    CHECK(Scanned(store, {}).empty());
    CHECK_FALSE(store.Apply({}).has_value());
  });
}

TEST_CASE("what was written is there when the store is opened again") {
  const test::Folder folder;
  for (const std::string& url : test::Urls(folder)) {
    CAPTURE(url);
    for (const engines::Durability durability :
         {engines::Durability::kProcess, engines::Durability::kMachine}) {
      const std::string value = durability == engines::Durability::kProcess ? "1" : "2";
      const engines::OpenOptions options{.create = true, .durability = durability};
      engines::OpenStore(url, options)->Put("kept", value);
      CHECK(engines::OpenStore(url, {})->Get("kept") == value);
    }
    test::Empty(*engines::OpenStore(url, {}));
  }
}

TEST_CASE("a URL that leads nowhere is one line that says so") {
  const test::Folder folder;
  const std::pair<std::string, const char*> cases[] = {
      {"mysql:host", "names no engine; a store is one of lmdb:PATH"},
      {"", "names no engine"},
      {"lmdb", "does not say where; it is lmdb:PATH"},
      {"lmdb:" + (folder / "none"), "there is no store"},
      {"rocksdb:" + (folder / "none"), "there is no store"},
  };
  for (const auto& [place, words] : cases) {
    const std::string& url = place;
    CAPTURE(url);
    std::string message;
    try {
      engines::OpenStore(url, {});
    } catch (const StoreError& error) {
      CHECK(error.Why() == Fault::kBadUrl);
      message = error.what();
    }
    // An engine that is not built says that instead.
    const bool says = message.find(words) != std::string::npos ||
                      message.find("is not built into this program") != std::string::npos;
    CHECK_MESSAGE(says, message);
    CHECK(message.find('\n') == std::string::npos);
  }
}

TEST_CASE("the range of a prefix ends where the prefix does") {
  CHECK(engines::WithPrefix("ab").end == "ac");
  CHECK(engines::WithPrefix(std::string("a\xFF\xFF", 3)).end == "b");
  CHECK(engines::WithPrefix("\x7F").end == "\x80");
  CHECK(engines::WithPrefix("\xFF\xFF").end.empty());
  CHECK(engines::WithPrefix("").end.empty());
}
