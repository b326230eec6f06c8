// A million generated values, the same on every host: what is stored for them in both byte orders,
// their hashes, orders, successors and sort keys, folded into one number a row. digests.txt beside
// this file was written on x86-64; every other host must come to the same numbers.
//
// KV_DIGEST_WRITE=FILE writes the numbers instead of comparing them.
#include <doctest/doctest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "kvsortkey.h"
#include "support/values_of.h"

namespace {

using support::Bytes;
using support::kMemory;
using support::Types;
using support::Values;

constexpr unsigned kBatch = 500;
constexpr unsigned kBatches = 46;  // of each row

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

std::string DigestOf(char id) {
  Digest digest;
  for (unsigned batch = 0; batch < kBatches; ++batch) {
    AddBatch(digest, id,
             batch % 4 == 3 ? support::WildValues(id, kBatch, batch)
                            : support::OrdinaryValues(id, kBatch, batch));
  }
  return digest.Text();
}

}  // namespace

TEST_CASE("a million values are stored, ordered, hashed, stepped and keyed alike on every host") {
  const char* file = std::getenv("KV_DIGEST_WRITE");
  if (file != nullptr) {
    std::ofstream out(file);
    for (char id = 0; id < support::kRowCount; ++id) {
      out << Types().NameGet(id, nullptr) << " " << DigestOf(id) << "\n";
    }
    return;
  }
  std::ifstream in(KV_SOURCE_DIR "/tests/digest/digests.txt");
  std::map<std::string, std::string> expected;
  for (std::string name, digest; in >> name >> digest;) expected[name] = digest;
  for (char id = 0; id < support::kRowCount; ++id) {
    const std::string name = Types().NameGet(id, nullptr);
    CAPTURE(name);
    CHECK(DigestOf(id) == expected[name]);
  }
}
