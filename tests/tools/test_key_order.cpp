// The order of many keys at once, against a stable sort that compares them as texts.
#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "key_order.h"

namespace {

using Keys = std::vector<std::string>;

std::vector<unsigned> OrderOf(const Keys& keys, bool reverse) {
  std::string all;
  std::vector<std::size_t> offsets{0};
  for (const std::string& key : keys) {
    all += key;
    offsets.push_back(all.size());
  }
  // A copy of just that size, so that a sanitizer sees what is read behind the last key.
  const std::vector<unsigned char> exact(all.begin(), all.end());
  return OrderOfKeys(exact.data(), offsets, reverse);
}

std::vector<unsigned> StableOrder(const Keys& keys, bool reverse) {
  std::vector<unsigned> order(keys.size());
  for (unsigned i = 0; i < keys.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](unsigned a, unsigned b) {
    return reverse ? keys[b] < keys[a] : keys[a] < keys[b];
  });
  return order;
}

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
  for (const bool reverse : {false, true}) {
    CAPTURE(reverse);
    for (const std::size_t longest : {0U, 1U, 6U, 7U, 8U, 15U, 40U}) {
      CAPTURE(longest);
      for (const unsigned letters : {2U, 200U}) {
        const Keys keys = RandomKeys(3000, longest, letters);
        CHECK(OrderOf(keys, reverse) == StableOrder(keys, reverse));
      }
    }
    CHECK(OrderOf({}, reverse).empty());
    CHECK(OrderOf({"", "", ""}, reverse) == std::vector<unsigned>{0, 1, 2});
  }
}

TEST_CASE("keys that differ behind a long beginning") {
  for (const bool reverse : {false, true}) {
    for (const std::size_t alike : {500U, 511U, 512U, 513U, 5000U}) {
      CAPTURE(alike);
      Keys keys = RandomKeys(300, 12, 2);
      for (std::string& key : keys) key.insert(0, alike, 'x');
      CHECK(OrderOf(keys, reverse) == StableOrder(keys, reverse));
    }
  }
}
