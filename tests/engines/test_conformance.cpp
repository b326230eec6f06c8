// One contract, every engine: the same operations on each store and on one in memory, which must
// agree.
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "key_middle.h"
#include "stores.h"
#include "support/map_store.h"

namespace {

using engines::Fault;
using engines::OrderedStore;
using engines::Range;
using engines::Snapshot;
using engines::StoreError;
using engines::When;
using engines::Write;
using test::OverAllStores;

using Model = support::MapStore;  // std::string orders its bytes as memcmp does
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
    const auto at = model.entries.find(write.key);
    // Conditions that mostly hold, so that batches get through and some fail late.
    if (source.Below(3) == 0) {
      write.when = at == model.entries.end() ? When::kAbsent : When::kEqual;
      if (at != model.entries.end()) write.expected = at->second;
      if (source.Below(15) == 0) write.expected += 'x';
      if (source.Below(15) == 0) write.when = When::kAbsent;
    }
    const auto same = [&](const Write& other) { return other.key == write.key; };
    if (std::none_of(batch.begin(), batch.end(), same)) batch.push_back(write);
  }
  return batch;
}

// As docs/engines.md has them: the longest key and value, the most writes and bytes of a batch.
const std::map<std::string, std::array<std::size_t, 4>> kSaid{
    {"lmdb", {511, 0xFFFFFFFF, engines::kUnlimited, engines::kUnlimited}},
    {"rocksdb", {65536, 0xFFFFFFFF, engines::kUnlimited, 1U << 30}},
    {"etcd", {2048, 1000000, 126, 1250000}},
    {"postgresql", {2692, 1U << 27, engines::kUnlimited, 1U << 28}}};

template <class Work>
Fault FaultOf(Work work) {
  try {
    work();
  } catch (const StoreError& error) {
    return error.Why();
  }
  FAIL("nothing was wrong");
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
      const auto failed = store.Apply(batch);
      CHECK(model.Apply(batch).has_value() == failed.has_value());
      if (failed) {
        ++refused;
        CHECK(model.Apply({batch[*failed]}) == 0);
      }
      const Range range{.from = source.Below(4) == 0 ? "" : source.Key(),
                        .end = source.Below(4) == 0 ? "" : source.Key(),
                        .descending = source.Below(2) == 0,
                        .limit = source.Below(3) == 0 ? source.Below(6) : engines::kUnlimited};
      CHECK(Scanned(store, range) == Scanned(model, range));
      const std::string key = source.Key();
      CHECK(store.Get(key) == model.Get(key));
    }
    CHECK(refused > 5);
    CHECK(model.entries.size() > 100);
    CHECK(Scanned(store, {}) == Scanned(model, {}));
  });
}

TEST_CASE("a snapshot stays as it was, over many pages and while others write") {
  OverAllStores([](OrderedStore& store, const std::string&) {
    Model model;
    auto& was = model.entries;
    std::vector<Write> batch;
    for (unsigned i = 0; i < 2500; ++i) {
      const std::string key = "k" + std::to_string(10000 + i * 3);
      was[key] = std::string(200, static_cast<char>('a' + i % 26));
      batch.push_back({.key = key, .value = was[key]});
      if (batch.size() == 100) {
        store.Apply(batch);
        batch.clear();
      }
    }
    unsigned seen = 0;
    for (const bool descending : {false, true}) {
      const auto snapshot = store.TakeSnapshot();
      const Range range{.descending = descending};
      // Some engines fix it by the first read, of one key or of many.
      CHECK((descending ? snapshot->Get("k10003") : snapshot->GetMany({"k10003"})[0]) ==
            was["k10003"]);
      store.Put("k10001", "early");
      Entries found;
      snapshot->Scan(range, [&](std::string_view key, std::string_view value) {
        found.emplace_back(key, value);
        // Behind and before the scan: gone, changed and new keys, and a read in between.
        if (found.size() % 500 == 0) {
          store.Apply({{.key = "k10000"},
                       {.key = "k10001", .value = "new"},
                       {.key = "k17497", .value = "changed"},
                       {.key = "k17494"}});
          CHECK(snapshot->Get("k10000") == was["k10000"]);
        }
        return true;
      });
      CHECK(found == Scanned(model, range));
      CHECK_FALSE(snapshot->Get("k10001").has_value());
      const std::vector<std::string> keys{"k17497", "nothing", "k10000"};
      std::vector<std::optional<std::string>> values{was["k17497"], std::nullopt, was["k10000"]};
      CHECK((snapshot->GetMany(keys) == values));
      snapshot->GetEach(keys, [&](std::size_t place, const std::string_view* value) {
        CHECK((value == nullptr ? !values[place] : values[place] == *value));
        return ++seen % 2 != 0;
      });
      CHECK(seen == (descending ? 4 : 2));
      CHECK(store.Get("k10001") == "new");
      store.Apply({{.key = "k10000", .value = was["k10000"]},
                   {.key = "k10001"},
                   {.key = "k17497", .value = was["k17497"]},
                   {.key = "k17494", .value = was["k17494"]}});
    }
  });
}

TEST_CASE("pages that grew over small values are small again where values are large") {
  OverAllStores([](OrderedStore& store, const std::string& url) {
    const char* const spread = std::getenv("KV_POSTGRESQL_URL");
    const engines::Limits limits = store.GetLimits();
    CHECK(limits.atomicBatches == (spread == nullptr || url != spread));
    constexpr std::size_t kLargest = 1100000;
    if (limits.valueBytes < kLargest) return;
    std::vector<Write> batch;
    for (unsigned i = 0; i < 88; ++i) {
      const std::size_t size = i < 64 ? 20000 : i < 80 ? 70000 : i < 84 ? 300000 : kLargest;
      batch.push_back({.key = "k" + std::to_string(100 + i), .value = std::string(size, 'v')});
    }
    store.Apply(batch);
    Model model;
    for (const Write& write : batch) model.entries[write.key] = *write.value;
    CHECK((Scanned(store, {}) == Scanned(model, {})));
  });
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {

// How `work` ends in a process of its own, which leaves everything open: 0, or its fault and 1.
template <class Work>
int InChild(Work work) {
  const pid_t child = fork();
  try {
    if (child == 0) work();
  } catch (const StoreError& error) {
    _exit(static_cast<int>(error.Why()) + 1);
  }
  if (child == 0) _exit(0);
  int status = 0;
  waitpid(child, &status, 0);
  return WEXITSTATUS(status);
}

}  // namespace

TEST_CASE("an embedded store outlives its readers, finds room for its map, and keeps no memory") {
  const std::vector<std::string> built = engines::BuiltEngines();
  if (std::find(built.begin(), built.end(), "lmdb") == built.end()) return;
  const test::Folder folder;
  const std::string url = "lmdb:" + (folder / "lmdb");
  const auto store = engines::OpenStore(url, {.create = true});
  store->Put("k", "v");
  std::unique_ptr<OrderedStore> mine;
  std::unique_ptr<Snapshot> snapshot;
  for (unsigned i = 0; i < 130; ++i) {  // more than there is room for
    CHECK(InChild([&] {
            mine = engines::OpenStore(url, {});
            snapshot = mine->TakeSnapshot();
          }) == 0);
  }
  rlimit room{};
  std::ifstream("/proc/self/statm") >> room.rlim_cur;
  room.rlim_cur *= static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
  // A map of 1 GiB is the smallest, and there is none between it and 4.
  for (const unsigned quarters : {3U, 5U}) {
    const int ends = InChild([&] {
      room.rlim_max = room.rlim_cur += quarters * (rlim_t{1} << 28);
      setrlimit(RLIMIT_AS, &room);
      mine = engines::OpenStore(url, {});
    });
    CHECK(ends == (quarters == 3 ? static_cast<int>(Fault::kOther) + 1 : 0));
  }
  const std::string damaged = folder / "damaged";
  std::filesystem::create_directory(damaged);
  std::ofstream(damaged + "/data.mdb") << std::string(10000, 'x');
  const bool isThere = std::find(built.begin(), built.end(), "rocksdb") != built.end();
  const auto other =
      engines::OpenStore((isThere ? "rocksdb:" : "lmdb:") + (folder / "other"), {.create = true});
  std::size_t used[2] = {};
  for (std::size_t& each : used) {
    for (unsigned i = 0; i < 300; ++i) {
      for (unsigned j = 0; j < 3; ++j) other->TakeSnapshot();
      CHECK(Scanned(*store, {}).size() == 1);
      CHECK(FaultOf([&] { engines::OpenStore("lmdb:" + damaged, {}); }) == Fault::kDamaged);
    }
    each = mallinfo2().uordblks;
  }
  CHECK(used[1] < used[0] + 20000);
}
#endif

TEST_CASE("a damaged page is told, whatever meets it") {
  const test::Folder folder;
  for (const std::string& url : test::Urls(folder)) {
    const bool isTree = url.starts_with("lmdb:");
    if (!isTree && !url.starts_with("rocksdb:")) continue;
    CAPTURE(url);
    std::vector<Write> batch;
    for (unsigned i = 0; i < 300; ++i) {
      batch.push_back({.key = "k" + std::to_string(i), .value = std::string(100, 'v')});
    }
    engines::OpenStore(url, {.create = true})->Apply(batch);
    engines::OpenStore(url, {});  // what was logged gets a file
    for (const auto& file : std::filesystem::directory_iterator(url.substr(url.find(':') + 1))) {
      std::fstream bytes(file.path(), std::ios::in | std::ios::out | std::ios::binary);
      if (file.path().extension() == ".sst") bytes.seekp(10).put('\xFF');
      // The kind of a page is its byte 10; 2 is a leaf.
      const auto size = static_cast<std::streamoff>(file.file_size());
      for (std::streamoff at = 10; isTree && at < size; at += 4096) {
        if (bytes.seekg(at).get() == 2) bytes.seekp(at).put('\0');
      }
    }
    const auto store = engines::OpenStore(url, {});
    const std::function<void()> works[] = {[&] { store->Get("k1"); },
                                           [&] { store->TakeSnapshot()->GetMany({"k1"}); },
                                           [&] { store->CompareAndSet("k1", "v", std::nullopt); },
                                           [&] { store->CompareAndSet("k1", std::nullopt, "v"); },
                                           [&] { Scanned(*store, {}); },
                                           [&] { Scanned(*store, {.descending = true}); }};
    for (const auto& work : works) CHECK(FaultOf(work) == Fault::kDamaged);
  }
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
    CHECK((kSaid.at(url.substr(0, url.find(':'))) ==
           std::array{limits.keyBytes, limits.valueBytes, limits.batchWrites, limits.batchBytes}));
    const auto fault = [&](const std::vector<Write>& batch) {
      return FaultOf([&] { store.Apply(batch); });
    };
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
    CHECK(fault({good, {.key = longest + "k", .value = "v"}}) == Fault::kTooLarge);
    CHECK(fault({good, {.key = "", .value = "v"}}) == Fault::kBadBatch);
    CHECK(fault({good, {.key = "k", .value = "1"}, {.key = "k"}}) == Fault::kBadBatch);
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
      CHECK(fault(batch) == Fault::kTooLarge);
    }
    if (limits.batchBytes < (1U << 24)) {
      const std::string largest(limits.valueBytes, 'v');
      const std::string rest(limits.batchBytes - limits.valueBytes - 2, 'r');
      store.Apply({{.key = "1", .value = largest}, {.key = "2", .value = rest}});
      CHECK(store.Get("1") == largest);
      store.Apply({{.key = "1"}, {.key = "2"}});
      CHECK(fault({{.key = "1", .value = largest}, {.key = "2", .value = rest + "r"}}) ==
            Fault::kTooLarge);
      CHECK(fault({good, {.key = "k", .value = largest + "v"}}) == Fault::kTooLarge);
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
  CHECK(engines::OpenOptions{}.patience == std::chrono::seconds(10));  // as the help has it
  const test::Folder folder;
  const std::string none = folder / "none";
  const std::tuple<std::string, Fault, std::string> cases[] = {
      {"mysql:host", Fault::kBadUrl, "names no engine; a store is one of lmdb:PATH"},
      {"", Fault::kBadUrl, "names no engine"},
      {"lmdb", Fault::kBadUrl, "'lmdb' does not say where; it is lmdb:PATH"},
      {"lmdb:", Fault::kBadUrl, "'lmdb:' does not say where"},
      {"lmdb:x", Fault::kBadUrl, "lmdb:x: there is no store"},
      {"rocksdb:" + none, Fault::kBadUrl, "rocksdb:" + none + ": there is no store"},
      {"postgresql:host=127.0.0.1 port=1", Fault::kUnavailable, "host=127.0.0.1 port=1: conn"},
  };
  for (const auto& [place, fault, words] : cases) {
    const std::string& url = place;
    CAPTURE(url);
    std::string message;
    try {
      engines::OpenStore(url, {.patience = std::chrono::milliseconds(20)});
    } catch (const StoreError& error) {
      message = error.what();
      // An engine that is not built says that instead.
      if (message.find("is not built into this program") != message.npos) continue;
      CHECK(error.Why() == fault);
    }
    REQUIRE_MESSAGE(message.find(words) != message.npos, message);
    CHECK(message.find_first_of("\n\t") == message.npos);
    CHECK(message.back() != ' ');
  }
}

TEST_CASE("the range of a prefix ends where the prefix does") {
  CHECK(engines::WithPrefix("ab").end == "ac");
  CHECK(engines::WithPrefix(std::string("a\xFF\xFF", 3)).end == "b");
  CHECK(engines::WithPrefix("\x7F").end == "\x80");
  CHECK(engines::WithPrefix("\xFF\xFF").end.empty());
  CHECK(engines::WithPrefix("").end.empty());
}

TEST_CASE("the middle between two keys is half their sum, to one digit more") {
  Source source;
  for (unsigned round = 0; round < 500; ++round) {
    const std::string first = source.Key(), second = source.Key();
    const std::size_t digits = std::max(first.size(), second.size()) + 1;
    const auto number = [digits](const std::string& key) {
      unsigned long long all = 0;
      for (std::size_t i = 0; i < digits; ++i) {
        all = 256 * all + (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
      }
      return all;
    };
    const std::string middle = engines::KeyMiddle(first, second);
    CHECK(middle.size() == digits);
    CHECK(number(middle) == (number(first) + number(second)) / 2);
  }
}
