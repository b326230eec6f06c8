// The order of many keys at once, against a stable sort that compares them as texts.
#include <doctest/doctest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "key_order.h"
#include "kv.h"
#include "parallel.h"

namespace {

using Keys = std::vector<std::string>;

using Order = std::vector<std::size_t>;

// The keys in several lists, as several threads make them.
Order OrderOf(const Keys& keys, KeyOrder how) {
  std::vector<KeyList> lists(3);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const std::vector<unsigned char> bytes(keys[i].begin(), keys[i].end());
    lists[i / 7 % lists.size()].Add(bytes, i);
  }
  std::size_t reported = 0;
  const Order order = OrderOfKeys(lists, how, [&](std::size_t more) { reported += more; });
  CHECK((reported <= keys.size() && reported + 70 > keys.size()));
  return order;
}

Order StableOrder(const Keys& keys, KeyOrder how) {
  Order order(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return how.reverse ? keys[b] < keys[a] : keys[a] < keys[b];
  });
  const auto same = [&](std::size_t a, std::size_t b) { return keys[a] == keys[b]; };
  if (how.unique) order.erase(std::unique(order.begin(), order.end(), same), order.end());
  return order;
}

constexpr KeyOrder kEvery[] = {{}, {.reverse = true}, {.unique = true}, {true, true}};

// Of few letters, so that many keys begin alike or are equal; the end is in no other place of a
// key.
Keys RandomKeys(unsigned count, std::size_t longest, unsigned letters) {
  std::minstd_rand random(static_cast<unsigned>(count + longest));
  Keys keys(count);
  for (std::string& key : keys) {
    for (auto left = random() % (longest + 1); left != 0; --left) {
      key += static_cast<char>(0xFF - random() % letters);
    }
    key += '\0';
  }
  return keys;
}

}  // namespace

TEST_CASE("keys are ordered as texts, and equal ones stay as they came") {
  for (const KeyOrder& how : kEvery) {
    CAPTURE(how.reverse);
    CAPTURE(how.unique);
    for (const std::size_t longest : {0U, 1U, 6U, 7U, 8U, 15U, 40U}) {
      CAPTURE(longest);
      for (const unsigned letters : {2U, 200U}) {
        const Keys keys = RandomKeys(3000, longest, letters);
        CHECK(OrderOf(keys, how) == StableOrder(keys, how));
      }
    }
    CHECK(OrderOf({}, how).empty());
    const Keys empty(20);  // more than are fetched ahead
    CHECK(OrderOf(empty, how) == StableOrder(empty, how));
  }
}

TEST_CASE("as many keys as are parted into buckets, with a beginning in common or without") {
  for (const KeyOrder& how : kEvery) {
    Keys keys = RandomKeys(40000, 12, 3);
    CHECK(OrderOf(keys, how) == StableOrder(keys, how));
    for (std::string& key : keys) key.insert(0, 3, 'x');
    CHECK(OrderOf(keys, how) == StableOrder(keys, how));
    keys.emplace_back(2, 'y');
    keys.emplace(keys.begin());
    CHECK(OrderOf(keys, how) == StableOrder(keys, how));
  }
}

TEST_CASE("keys that differ from each bit of a byte on") {
  for (const int highest : {0, 1, 2, 3, 4, 5, 6, 7}) {
    Keys keys = RandomKeys(300, 12, 200);
    for (std::string& key : keys)
      key.insert(0, 1, static_cast<char>(key[0] & ((2 << highest) - 1)));
    CHECK(OrderOf(keys, {}) == StableOrder(keys, {}));
  }
}

TEST_CASE("keys that differ behind a long beginning") {
  for (const KeyOrder& how : kEvery) {
    for (const std::size_t alike : {500U, 511U, 512U, 513U, 5000U, 400000U, 3000000U}) {
      CAPTURE(alike);
      Keys keys = RandomKeys(alike > 5000 ? 5 : 300, 12, 2);
      for (std::string& key : keys) key.insert(0, alike, 'x');
      CHECK(OrderOf(keys, how) == StableOrder(keys, how));
    }
  }
}

TEST_CASE("the key of a value that has one is kept, and of another none") {
  constexpr KvSortKeyKind kTexts{.type = KvSTRING_T};
  const KvString texts[] = {"b", "a", "b"};
  std::vector<KeyList> keys(1);
  for (std::size_t i = 0; i < 3; ++i) CHECK(keys[0].Add(kTexts, &texts[i], 10 * i));
  const KvString plain(kvCodeSetBytes, 1);
  CHECK_FALSE(keys[0].Add(kTexts, &plain, 30));
  CHECK(OrderOfKeys(keys) == Order{10, 0, 20});
}

TEST_CASE("every item is worked on once, and all are reported") {
  for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
    std::vector<std::atomic<unsigned>> calls(count);
    std::vector<std::atomic<std::thread::id>> threads(Workers());
    std::atomic<bool> workersFit = true;
    std::size_t reported = 0;
    ForEachItem(
        count,
        [&](std::size_t item, unsigned worker) {
          ++calls[item];
          std::thread::id none;
          const auto mine = std::this_thread::get_id();
          const bool isFirst = threads.at(worker).compare_exchange_strong(none, mine);
          if (!isFirst && none != mine) workersFit = false;
        },
        [&](std::size_t items) { reported += items; });
    CHECK(std::all_of(calls.begin(), calls.end(), [](const auto& each) { return each == 1; }));
    CHECK(workersFit);
    CHECK(reported == count);
  }
  std::atomic<bool> began = false;
  unsigned reports = 0;
  const auto wait = [&](std::size_t, unsigned worker) {
    if (worker == 0) began = true;
    while (!began) std::this_thread::yield();
  };
  ForEachItem(100, wait, [&](std::size_t) { ++reports; });
  CHECK(reports > 1);  // not at the end alone
  const auto fail = [](std::size_t item, unsigned) {
    if (item == 7) throw std::runtime_error("seven");
  };
  CHECK_THROWS_AS(ForEachItem(100, fail, [](std::size_t) {}), std::runtime_error);
}
