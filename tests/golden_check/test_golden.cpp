// Every value of the golden files through the type manager, in every form: stored bytes, loading,
// sizes, translation, hashes and the order of every pair.

#include <doctest/doctest.h>

#include <filesystem>
#include <set>

#include "golden_check/golden.h"
#include "golden_check/golden_keys.h"

namespace {

using golden::File;
using golden::kMemory;
using golden::kMemoryOrder;
using golden::kReversed;
using golden::Line;
using golden::Values;
using support::Sign;
using Bytes = std::vector<unsigned char>;

constexpr unsigned char kForms[] = {kMemory, kMemoryOrder, 1, kReversed};

std::vector<std::string> GoldenPaths() {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(KV_SOURCE_DIR "/tests/golden")) {
    if (entry.path().extension() == ".txt") paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

// Stored to stored copies as much as there is of source and room, whatever the two orders, and
// clears the room that is left.
void CheckStoredCopies(const KvTypeMgr& types, char id, const Bytes& stored, unsigned count) {
  const std::size_t size = stored.size();
  for (const std::size_t room : {size + 9, size / 2}) {
    const std::size_t copied = std::min(room, size);
    Bytes expected(room, 0);
    std::copy_n(stored.begin(), copied, expected.begin());
    expected.resize(size + 20, 0xEE);
    Bytes copy(expected.size(), 0xEE);
    CHECK(types.Translate(id, copy.data(), kReversed, static_cast<unsigned>(room), stored.data(),
                          kMemoryOrder, static_cast<unsigned>(size), count) == copied);
    CHECK(copy == expected);
  }
  Bytes place(stored);  // onto itself
  types.Translate(id, place.data(), kReversed, static_cast<unsigned>(size), place.data(),
                  kMemoryOrder, static_cast<unsigned>(size), count);
  CHECK(place == stored);
}

// One line's values, stored, measured, loaded and moved between forms.
void CheckBytes(const File& file, const Line& line, const unsigned char* values, unsigned count) {
  const KvTypeMgr types(file.Factory());
  const char id = static_cast<char>(file.typeId);
  CAPTURE(line.value);
  for (const unsigned char format : {kMemoryOrder, kReversed}) {
    CAPTURE(int(format));
    const Bytes expected = golden::FromHex(format == kReversed ? line.reversed : line.stored);
    const auto size = static_cast<unsigned>(expected.size());
    CHECK(golden::Stored(types, file, values, format, count) == expected);
    CHECK(types.DiskLenGet(id, expected.data(), format, count, 0) == size);
    MemFile page(expected.data(), size);
    CHECK(types.DiskLenGetFromMemFile(id, &page, format, count) == size);
    CHECK(page.Tell() == 0);
    CHECK(golden::HashText(types, file, size, expected.data(), count, format) == line.hash);

    Bytes translated(size + 70000);
    CHECK(types.Translate(id, translated.data(), format, size, values, kMemory, 0, count) == size);
    translated.resize(size);
    CHECK(translated == expected);

    // What a stored form leaves out (the version of a reference) stays left out.
    for (const bool byLoading : {true, false}) {
      const Values loaded(types, file, count);
      const unsigned result =
          byLoading
              ? types.Load(id, loaded.At(0), expected.data(), format, count)
              : types.Translate(id, loaded.At(0), kMemory, 0, expected.data(), format, size, count);
      if (byLoading) CHECK(result == size);
      CHECK(golden::Stored(types, file, loaded.At(0), format, count) == expected);
      CHECK(types.Cmp(id, loaded.At(0), const_cast<unsigned char*>(values), file.operation, count,
                      kMemory) == 0);
    }
  }
  const Values copied(types, file, count);
  CHECK(types.Translate(id, copied.At(0), kMemory, 0, values, kMemory, 0, count) ==
        types.MemLenGet(id, 1) * count);
  CHECK(golden::Stored(types, file, copied.At(0), kMemoryOrder, count) ==
        golden::FromHex(line.stored));
  CheckStoredCopies(types, id, golden::FromHex(line.stored), count);
  CHECK(golden::HashText(types, file, 0, values, count, kMemory) == line.hash);
}

// Rises with each line that is not equal to the one before.
std::vector<int> Ranks(const File& file) {
  std::vector<int> ranks;
  for (const Line& line : file.lines) {
    ranks.push_back(ranks.empty() ? 0 : ranks.back() + (line.relation == "<" ? 1 : 0));
  }
  return ranks;
}

void CheckOrder(const File& file, const Values& values, unsigned char format) {
  const KvTypeMgr types(file.Factory());
  const char id = static_cast<char>(file.typeId);
  const std::vector<int> ranks = Ranks(file);
  std::vector<Bytes> forms;
  for (unsigned i = 0; i < values.Count(); ++i) {
    const Line& line = file.lines[i];
    forms.push_back(golden::FromHex(format == kReversed ? line.reversed : line.stored));
  }
  const auto operand = [&](unsigned i) {
    return format == kMemory ? values.At(i) : forms[i].data();
  };
  const auto length = [&](unsigned i) {
    return format == kMemory ? 0 : static_cast<unsigned>(forms[i].size());
  };
  CAPTURE(int(format));
  for (unsigned a = 0; a < values.Count(); ++a) {
    for (unsigned b = 0; b < values.Count(); ++b) {
      int status = 9;
      const int order = types.Cmp(id, length(a), operand(a), length(b), operand(b), file.operation,
                                  1, format, status);
      CHECK_MESSAGE(support::Sign(order) == support::Sign(ranks[a] - ranks[b]), file.lines[a].value,
                    " and ", file.lines[b].value);
      CHECK(status == 0);
    }
  }
}

}  // namespace

TEST_CASE("every row stores, loads, orders and hashes as its golden file says") {
  for (const std::string& path : GoldenPaths()) {
    CAPTURE(path);
    const File file = golden::Parse(path);
    const KvTypeMgr types(file.Factory());
    const Values values(types, file);
    for (unsigned i = 0; i < values.Count(); ++i) CheckBytes(file, file.lines[i], values.At(i), 1);
    CheckBytes(file, file.run, values.At(0), file.RunCount());
    for (const unsigned char format : kForms) CheckOrder(file, values, format);
  }
}

TEST_CASE("every row has a golden file") {
  std::set<int> rows;
  for (const std::string& path : GoldenPaths()) rows.insert(golden::Parse(path).typeId);
  for (char id = 0; id < support::kRowCount; ++id) {
    CHECK_MESSAGE(rows.contains(id), support::Types().NameGet(id, nullptr));
  }
}

TEST_CASE("every row has the sort keys that its golden file says") {
  for (const std::string& path : GoldenPaths()) {
    CAPTURE(path);
    const std::vector<std::string> expected = golden::ReadLines(golden::KeysPath(path));
    const std::vector<std::string> lines = golden::KeyLines(golden::Parse(path));
    REQUIRE(lines.size() == expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) CHECK(lines[i] == expected[i]);
  }
  const std::string orders = KV_SOURCE_DIR "/tests/golden/keys/orders.txt";
  CHECK(golden::OrdersLines(orders) == golden::ReadLines(orders));
  CHECK(golden::ReadLines(orders).size() >= 60);
}
