// Tuples and ranges.
#include <doctest/doctest.h>

#include <deque>

#include "sortkey/sort_keys.h"

namespace {

using namespace sortkey;
using support::Values;

struct Part {
  char id;
  unsigned char options;
};

// What a reader of the parts alone would say.
int PlainOrder(const Part& part, void* a, void* b) {
  const bool isNull[] = {Types().IsNullValue(part.id, a) != 0,
                         Types().IsNullValue(part.id, b) != 0};
  return OrderUnder(part.options, Sign(Types().Cmp(part.id, a, b, 0x10, 1, 8)), isNull);
}

}  // namespace

TEST_CASE("tuples order by their first part that differs") {
  static constexpr char kRows[] = {KvNULL_4B_T,     KvDATE_T,       KvBLOB_T,     KvBOOLEAN_T,
                                   KvCASEISTRING_T, KvNULL_1B_T,    KvDATIME_N_T, KvOBJID_T,
                                   KvDOUBLE_T,      KvNULL_DOUBLE_T};
  support::Source source(5);
  for (unsigned schema = 0; schema < 60; ++schema) {
    std::vector<Part> parts;
    for (unsigned i = 0; i < 3; ++i) {
      parts.push_back(
          {kRows[source.Below(sizeof kRows)], source.Pick<unsigned char>({0, 1, 2, 3, 4, 5})});
    }
    // Few values a part, so that leading parts are often the same.
    std::deque<Values> columns;
    for (const Part& part : parts) {
      columns.emplace_back(part.id, support::OrdinaryValues(part.id, 6, source.Below(1000)));
    }
    struct Row {
      unsigned at[3];
      Bytes key;
    };
    std::vector<Row> rows;
    for (unsigned i = 0; i < 216; ++i) {
      Row row{{i % 6, i / 6 % 6, i / 36}, Bytes(256)};
      KvSortKeyWriter tuple(row.key.data(), row.key.size());
      for (unsigned p = 0; p < 3; ++p) {
        CHECK(tuple.Add({.type = parts[p].id, .options = parts[p].options},
                        columns[p][row.at[p]]) == kvOk);
      }
      row.key.resize(tuple.Size());
      rows.push_back(row);
    }
    unsigned wrong = 0;
    for (const Row& a : rows) {
      for (const Row& b : rows) {
        int order = 0;
        for (unsigned p = 0; p < 3 && order == 0; ++p) {
          order = PlainOrder(parts[p], columns[p][a.at[p]], columns[p][b.at[p]]);
        }
        if (order != Order(a.key, b.key)) ++wrong;
      }
    }
    CHECK(wrong == 0);

    // And each part comes back, or is passed.
    const Row& row = rows[source.Below(216)];
    KvSortKeyReader reader(row.key.data(), row.key.size());
    for (unsigned p = 0; p < 3; ++p) {
      const KvSortKeyKind kind{.type = parts[p].id, .options = parts[p].options};
      const Values back(parts[p].id, {Bytes()});
      const void* part = nullptr;
      std::size_t length = 0;
      KvSortKeyReader passing = reader;
      REQUIRE(passing.Skip(kind, &part, &length) == kvOk);
      REQUIRE(reader.Next(kind, back[0]) == kvOk);
      CHECK(Types().Cmp(parts[p].id, back[0], columns[p][row.at[p]], 0x10, 1, 8) == 0);
      CHECK(KeyOf(kind, back[0]) == Bytes(static_cast<const unsigned char*>(part),
                                          static_cast<const unsigned char*>(part) + length));
    }
    CHECK(reader.AtEnd());
  }
}

TEST_CASE("a tuple that does not fit says how large it is") {
  o_4b number = 5;
  KvDate day(2024, 2, 29);
  unsigned char buffer[6] = {};
  KvSortKeyWriter tuple(buffer, sizeof buffer);
  CHECK(tuple.Add({.type = Kv4B_T}, &number) == kvOk);
  CHECK(tuple.Add({.type = KvDATE_T}, &day) == kvBufferShort);
  CHECK(tuple.Add({.type = Kv4B_T}, &number) == kvBufferShort);
  CHECK(tuple.AddBytes("ab", 2) == kvBufferShort);
  const KvBoolean truth;
  CHECK(tuple.Add({.type = KvBOOLEAN_T}, &truth) == kvBufferShort);
  CHECK(tuple.Status() == kvBufferShort);
  CHECK(tuple.Size() == 15);
  CHECK(buffer[4] == 0);
  tuple.Reset(4);
  CHECK(tuple.AddBytes("abc", 3) == kvBufferShort);
  tuple.Reset(4);
  CHECK(tuple.AddBytes("a", 1) == kvOk);
  CHECK(tuple.AddBytes("b", 1) == kvOk);
  CHECK(Hex(Bytes(buffer, buffer + tuple.Size())) == "800000056162");
  CHECK(tuple.Add({.type = 99}, &number) == kvBadArgument);
  CHECK(tuple.Add({.type = Kv4B_T}, &number) == kvBadArgument);
  CHECK(tuple.AddBytes("ab", 2) == kvBadArgument);
  CHECK((tuple.Status() == kvBadArgument && tuple.Size() == 6));
}

TEST_CASE("a reader stays where the bytes are no key") {
  const unsigned char bytes[] = {0x80, 0x00, 0x00, 0x05, 0x02};
  KvSortKeyReader reader(bytes, sizeof bytes);
  KvNull_char part;
  CHECK(reader.Skip({.type = Kv4B_T}) == kvOk);
  CHECK(reader.Next({.type = KvNULL_1B_T}, &part) == kvBadArgument);
  const void* skipped = &part;
  std::size_t length = 9;
  CHECK(reader.Skip({.type = KvNULL_1B_T}, &skipped, &length) == kvBadArgument);
  CHECK((skipped == &part && length == 9));
  CHECK(!reader.AtEnd());
  CHECK(reader.Skip({.type = KvU1B_T}) == kvOk);
  CHECK(reader.AtEnd());
}

TEST_CASE("the end of a prefix is behind all that begin with it, and not further") {
  struct Case {
    Bytes prefix;
    Bytes end;
  };
  const Case cases[] = {{{1, 2}, {1, 3}}, {{1, 0xFF}, {2}},   {{1, 0xFF, 0xFF}, {2}},
                        {{}, {}},         {{0xFF, 0xFF}, {}}, {{0}, {1}}};
  for (const Case& c : cases) {
    Bytes end = c.prefix;
    std::size_t size = 9;
    KvSortKeyPrefixEnd(end.data(), end.size(), end.data(), size);
    end.resize(size);
    CHECK(end == c.end);
  }
}

TEST_CASE("the range of a beginning holds those that begin so and no others") {
  for (const char id : {KvBLOB_T, KvISTRING_T, KvCASEISTRING_T}) {
    const Values values(id, support::OrdinaryValues(id, 200));
    for (const unsigned char options : std::initializer_list<unsigned char>{0, 1, 2}) {
      const KvSortKeyKind kind{.type = id, .options = options};
      for (unsigned p = 0; p < values.Count(); ++p) {
        if (Types().IsNullValue(id, values[p]) != 0) continue;
        Bytes lower(100), upper(100);
        std::size_t lowerSize = 0, upperSize = 0;
        REQUIRE(KvSortKeyRange(kind, kvSortKeyBeginning, values[p], 0, 8, 100, lower.data(),
                               lowerSize, upper.data(), upperSize) == kvOk);
        // The plain key of a text without its end is what others begin with.
        Bytes beginning = KeyOf({.type = id}, values[p]);
        const std::size_t ending = id == KvBLOB_T ? 2 : 1;
        beginning.resize(beginning.size() - ending);
        for (unsigned v = 0; v < values.Count(); ++v) {
          const Bytes key = KeyOf(kind, values[v]);
          const Bytes plain = KeyOf({.type = id}, values[v]);
          const bool begins = plain.size() >= beginning.size() &&
                              std::equal(beginning.begin(), beginning.end(), plain.begin());
          const Bytes from(lower.begin(), lower.begin() + static_cast<long>(lowerSize));
          const Bytes to(upper.begin(), upper.begin() + static_cast<long>(upperSize));
          const bool inside = key >= from && (upperSize == 0 || key < to);
          CHECK(inside == begins);
        }
      }
    }
  }
}
