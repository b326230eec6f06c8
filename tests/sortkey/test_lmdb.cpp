// Keys in a real engine that orders bytes and is given no comparator.
#ifdef KV_HAVE_LMDB
#include <doctest/doctest.h>

#include <fstream>
#include <numeric>

#include "engines/stores.h"
#include "sortkey/sort_keys.h"

namespace {

using namespace sortkey;

// KV_SORTKEY_ENTRIES takes as many as an index has: a million.
unsigned Entries() {
  const char* more = std::getenv("KV_SORTKEY_ENTRIES");
  return more != nullptr ? static_cast<unsigned>(std::atoi(more)) : 20000;
}

// Puts tuples of a value and its number into the store and walks it: the numbers must come in the
// order into which the row's comparer sorts them, equal values as they were.
template <class Value>
void CheckWalk(char id, std::vector<Value> values, unsigned char options) {
  const KvSortKeyKind kind{.type = id, .options = options};
  const KvSortKeyKind number{.type = KvU4B_T};
  const test::Folder folder;
  const auto store = engines::OpenStore("lmdb:" + (folder / "keys"), {.create = true});
  std::vector<engines::Write> batch;
  for (o_u4b i = 0; i < values.size(); ++i) {
    std::string key(2000, '\0');
    KvSortKeyWriter tuple(key.data(), key.size());
    tuple.Add(kind, &values[i]);
    REQUIRE(tuple.Add(number, &i) == kvOk);
    key.resize(tuple.Size());
    batch.push_back({.key = key, .value = ""});
  }
  REQUIRE(!store->Apply(batch));
  std::vector<o_u4b> expected(values.size());
  std::iota(expected.begin(), expected.end(), 0U);
  std::stable_sort(expected.begin(), expected.end(), [&](o_u4b a, o_u4b b) {
    const int order = Types().Cmp(id, &values[a], &values[b], kvCompareExact, 1, 8);
    return (options & kvSortKeyDescending) != 0 ? order > 0 : order < 0;
  });
  std::vector<o_u4b> walked;
  store->TakeSnapshot()->Scan({}, [&](std::string_view key, std::string_view) {
    KvSortKeyReader reader(key.data(), key.size());
    o_u4b index = 0;
    REQUIRE(reader.Skip(kind) == kvOk);
    REQUIRE(reader.Next(number, &index) == kvOk);
    walked.push_back(index);
    return true;
  });
  CHECK(walked == expected);
}

}  // namespace

TEST_CASE("an engine walks German words in their order") {
  std::vector<std::string> words;
  std::ifstream file("/usr/share/dict/ngerman");
  for (std::string line; std::getline(file, line);) words.push_back(line);
  support::Source source(21);
  static constexpr const char* kSyllables[] = {"Bä", "de", "fi", "Öl", "ß", "ka", "ü", "zw", "e"};
  std::vector<KvString> texts;
  while (texts.size() < Entries()) {
    std::string word;
    if (!words.empty()) word = words[source.Below(static_cast<unsigned>(words.size()))];
    for (auto left = words.empty() ? 4 : source.Below(2); left != 0; --left) {
      word += kSyllables[source.Below(std::size(kSyllables))];
    }
    KvString text(kvCodeSetUnicode, 2);
    KvMBS2KvString(word.c_str(), text, static_cast<int>(word.size()));
    if (source.Below(2) == 0) text.SetCodeSetCode(kvCodeSetLatin1);
    text.SetLanguage(2);
    texts.push_back(text);
  }
  CheckWalk(KvSTRING_T, texts, 0);
}

TEST_CASE("an engine walks dates in their order, the last one first") {
  support::Source source(22);
  std::vector<KvDate> dates;
  while (dates.size() < Entries()) {
    KvDate date(static_cast<short>(1900 + source.Below(200)),
                static_cast<char>(1 + source.Below(12)), static_cast<char>(1 + source.Below(28)));
    if (source.Below(50) == 0) date.SetNullValue();
    dates.push_back(date);
  }
  CheckWalk(KvDATE_T, dates, kvSortKeyDescending);
}
#endif
