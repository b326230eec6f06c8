// A million generated values, the same on every host: what is stored for them in both byte orders,
// their hashes, orders, successors and sort keys, folded into one number a row. digests.txt beside
// this file was written on x86-64; every other host must come to the same numbers.
//
// A line is the row's name, its number after the first 4 batches, and after all 46. Emulators have
// time for 4: KV_DIGEST_BATCHES=4. KV_DIGEST_WRITE=FILE writes the numbers instead of comparing.
#include <doctest/doctest.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "kvsortkey.h"
#include "support/values_of.h"

namespace {

using support::Bytes;
using support::kMemory;
using support::Types;
using support::Values;

constexpr unsigned kBatch = 500;
constexpr unsigned kBatches[] = {4, 46};  // of each row: a sample, and all

class Digest {
 public:
  void Add(const void* bytes, std::size_t size) {
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < size; ++i) hash_ = (hash_ ^ at[i]) * 0x100000001B3;
  }
  void Add(const Bytes& bytes) {
    Number(bytes.size());
    Add(bytes.data(), bytes.size());
  }
  void Number(o_u8b number) { Add(support::Little(number, 8).data(), 8); }
  void Status(int status) { Number(static_cast<o_u8b>(o_8b{status})); }
  std::string Text() const {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash_));
    return text;
  }

 private:
  o_u8b hash_ = 0xCBF29CE484222325;
};

void AddKey(Digest& digest, char id, const void* value) {
  unsigned char key[1024];
  std::size_t size = 0;
  digest.Status(KvSortKey({.type = id}, value, 0, kMemory, key, sizeof key, size));
  digest.Add(key, std::min(size, sizeof key));
}

void AddSuccessor(Digest& digest, char id, Bytes& stored) {
  const Values copy(id, {stored});
  digest.Status(Types().GetValue(id, copy[0], 0, kMemory, 'M'));
  digest.Add(copy.Stored(0, 0));
}

void AddForm(Digest& digest, char id, unsigned char format, void* before, void* value) {
  int status = 0;
  digest.Number(Types().Hash(id, 0, value, 1, format, status));
  for (const unsigned short cmpOp : {std::uint16_t{0}, std::uint16_t{kvCompareExact}}) {
    digest.Status(Types().Cmp(id, 0, before, 0, value, cmpOp, 1, format, status));
  }
}

void AddBatch(Digest& digest, char id, std::vector<Bytes> given) {
  const Values values(id, std::move(given));
  Bytes before[2];
  for (unsigned i = 0; i < values.Count(); ++i) {
    void* value = values[i];
    AddForm(digest, id, kMemory, values[i == 0 ? 0 : i - 1], value);
    for (const unsigned char order : {std::uint8_t{0}, std::uint8_t{2}}) {
      Bytes stored = values.Stored(order, i);
      digest.Add(stored);
      Bytes& last = before[order / 2];
      if (last.empty()) last = stored;
      AddForm(digest, id, order, last.data(), stored.data());
      if (order == 0) AddSuccessor(digest, id, stored);
      last = std::move(stored);
    }
    AddKey(digest, id, value);
  }
}

// The row's digest after each of kBatches, up to `most`.
std::vector<std::string> DigestsOf(char id, unsigned most) {
  std::vector<std::string> texts;
  Digest digest;
  unsigned batch = 0;
  for (const unsigned end : kBatches) {
    if (end > most) break;
    for (; batch < end; ++batch) {
      AddBatch(digest, id,
               batch % 4 == 3 ? support::WildValues(id, kBatch, batch)
                              : support::OrdinaryValues(id, kBatch, batch));
    }
    texts.push_back(digest.Text());
  }
  return texts;
}

}  // namespace

TEST_CASE("a million values are stored, ordered, hashed, stepped and keyed alike on every host") {
  const char* file = std::getenv("KV_DIGEST_WRITE");
  if (file != nullptr) {
    std::ofstream out(file);
    for (char id = 0; id < support::kRowCount; ++id) {
      out << Types().NameGet(id, nullptr);
      for (const std::string& text : DigestsOf(id, kBatches[1])) out << " " << text;
      out << "\n";
    }
    return;
  }
  const char* fewer = std::getenv("KV_DIGEST_BATCHES");
  const unsigned batches = fewer != nullptr ? static_cast<unsigned>(std::atoi(fewer)) : kBatches[1];
  REQUIRE(batches >= kBatches[0]);
  std::ifstream in(KV_SOURCE_DIR "/tests/digest/digests.txt");
  std::map<std::string, std::array<std::string, 2>> expected;
  for (std::string name; in >> name;) in >> expected[name][0] >> expected[name][1];
  for (char id = 0; id < support::kRowCount; ++id) {
    const std::string name = Types().NameGet(id, nullptr);
    CAPTURE(name);
    const std::vector<std::string> digests = DigestsOf(id, batches);
    for (std::size_t i = 0; i < digests.size(); ++i) CHECK(digests[i] == expected[name][i]);
  }
}
