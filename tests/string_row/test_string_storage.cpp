// Stored strings: layouts to the byte, round trips in every form, damaged blocks.
#include <doctest/doctest.h>

#include <memory>
#include <vector>

#include "kvcollate.h"
#include "kvcompare.h"
#include "kvhash.h"
#include "kvistring.h"
#include "kvstorage.h"
#include "kvtypemgr.h"
#include "string/text.h"

namespace {

using Block = std::vector<unsigned char>;

Block Stored(const KvTypeMgr& types, const KvString* strings, unsigned count,
             unsigned char format) {
  Block block(70000 * (count + 1), 0xCC);
  block.resize(types.Store(KvSTRING_T, block.data(), strings, format, count));
  return block;
}

Block Stored(const KvString& string, unsigned char format) {
  return Stored(KvTypeMgr(5), &string, 1, format);
}

// Every kind of string that there is, long and short.
std::vector<KvString> Kinds() {
  std::vector<KvString> kinds;
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{0, 1, 9, 224, 225, 253}) {
    for (const char16_t* text : {u"", u"a", u"abc", u"caf\u00E9 \u00FF"}) {
      kinds.push_back(Make(text, codeSet, 3));
    }
    kinds.push_back(Make(std::u16string(70000, u'x'), codeSet, 0));
    kinds.push_back(KvString(codeSet, 7));
  }
  kinds.push_back(Make(u"\u4E2D\uFFFF\u0100", 253, 20));
  kinds.push_back(Make(u"\u4000\u8001", 254, 129));
  kinds.emplace_back();
  kinds.back().SetNullValue();
  kinds.emplace_back("with\0zero", static_cast<unsigned short>(9));
  kinds.emplace_back("a long buffer that is used again");
  kinds.back().CopyMapped(KvString("short"), 1, -1);
  kinds.emplace_back("odd buffer");
  kinds.back().CopyMapped(KvString("wide"), 253, -1);
  return kinds;
}

bool Same(const KvString& a, const KvString& b) {
  return Units(a) == Units(b) && a.GetCodeSet() == b.GetCodeSet() &&
         a.GetLanguage() == b.GetLanguage();
}

}  // namespace

TEST_CASE("the stored bytes of strings") {
  CHECK(Stored("abc", 1) == Block{7, 0, 1, 1, 'a', 'b', 'c', 0, 0xFF});
  CHECK(Stored("abc", 2) == Block{0, 7, 1, 1, 'a', 'b', 'c', 0, 0xFF});
  CHECK(Stored(KvString(), 0) == Block{4, 0, 1, 1, 0, 0xFF});
  CHECK(Stored("", 2) == Block{0, 4, 1, 1, 0, 0xFF});
  CHECK(Stored(Make(u"a\u20AC", 253, 5), 0) == Block{8, 0, 253, 5, 0x61, 0, 0xAC, 0x20, 0, 0xFF});
  CHECK(Stored(Make(u"a\u20AC", 253, 5), 2) == Block{0, 8, 253, 5, 0, 0x61, 0x20, 0xAC, 0, 0xFF});
  KvString null;
  null.SetNullValue();
  CHECK(Stored(null, 0) == Block{4, 0, 0, 254, 0, 0xFF});
  KvString odd("abcdef");  // seven bytes of buffer
  odd.CopyMapped(KvString("ab"), 253, -1);
  CHECK(Stored(odd, 0) == Block{9, 0, 253, 1, 'a', 0, 'b', 0, 0, 0, 0xFF});
  const KvTypeMgr types;
  CHECK(types.Store(KvSTRING_T, nullptr, nullptr, 0, 0) == 0);
}

TEST_CASE("every kind of string survives in both orders, alone and in runs") {
  const KvTypeMgr types;
  const std::vector<KvString> kinds = Kinds();
  const auto count = static_cast<unsigned>(kinds.size());
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 1, 2, 0x82}) {
    const Block run = Stored(types, kinds.data(), count, format);
    CHECK(types.DiskLenGet(KvSTRING_T, run.data(), format, count, 0) == run.size());
    MemFile file(run.data(), static_cast<unsigned>(run.size()));
    CHECK(types.DiskLenGetFromMemFile(KvSTRING_T, &file, format, count) == run.size());
    CHECK(file.Tell() == 0);
    std::vector<KvString> loaded(kinds.size(), KvString("before"));
    CHECK(types.Load(KvSTRING_T, loaded.data(), run.data(), format, count) == run.size());
    for (unsigned index = 0; index < count; ++index) {
      CAPTURE(index);
      CHECK(Same(loaded[index], kinds[index]));
      CHECK(loaded[index].IsNullValue() == kinds[index].IsNullValue());
      const Block alone = Stored(kinds[index], format);
      CHECK(alone.back() != 0);
      KvString one;
      CHECK(StringLoad(&one, alone.data(), format, 1) == alone.size());
      CHECK(Same(one, kinds[index]));
    }
  }
}

TEST_CASE("the old form is written by the old catalogue and read by both") {
  const KvTypeMgr old(3), current(5);
  const KvString strings[] = {KvString("abc"), KvString(), Make(u"w\u00E9\u20AC", 253)};
  CHECK(Stored(old, strings, 1, 0) == Block{4, 0, 'a', 'b', 'c', 0});
  const Block run = Stored(old, strings, 3, 2);
  CHECK(run == Block{0, 9, 'a', 'b', 'c', 0, 0, 'w', 0xE9, '?', 0});
  CHECK(old.DiskLenGet(KvSTRING_T, run.data(), 2, 3, 0) == 11);
  MemFile file(run.data(), static_cast<unsigned>(run.size()));
  CHECK(old.DiskLenGetFromMemFile(KvSTRING_T, &file, 2, 3) == 11);
  CHECK(old.Store(KvSTRING_T, nullptr, nullptr, 0, 0) == 0);
  for (const KvTypeMgr* types : {&old, &current}) {
    // One string more than the block holds comes out empty.
    KvString loaded[4] = {"x", "x", "x", "x"};
    CHECK(types->Load(KvSTRING_T, loaded, run.data(), 2, 4) == 11);
    CHECK(Bytes(loaded[0]) == "abc");
    CHECK(loaded[1].IsEmpty());
    CHECK(Bytes(loaded[2]) == "w\xE9?");
    CHECK(loaded[3].IsEmpty());

    const Block same = Stored(old, loaded, 3, 2);
    int status = -1;
    CHECK(types->Cmp(KvSTRING_T, 0, const_cast<unsigned char*>(run.data()), 0,
                     const_cast<unsigned char*>(same.data()), 0, 3, 2, status) == 0);
    CHECK(status == 0);
    const unsigned inMemory = types->Hash(KvSTRING_T, 0, loaded, 3, 8, status);
    CHECK(types->Hash(KvSTRING_T, 0, const_cast<unsigned char*>(run.data()), 3, 2, status) ==
          inMemory);
  }
  KvString zero;
  const unsigned char nothing[2] = {0, 0};
  CHECK(current.Load(KvSTRING_T, &zero, nothing, 0, 1) == 0);
  KvIString kept("before");
  const unsigned char least[] = {1, 0, 'x'};
  CHECK(current.Load(KvISTRING_T, &kept, least, 0, 1) == 3);
  CHECK(kept.IsEmpty());
}

TEST_CASE("translation converts between forms, assigns in memory and copies stored bytes") {
  const KvTypeMgr types;
  KvString source[2] = {Make(u"a\u20AC", 253), KvString("x")};
  unsigned char stored[64];
  const unsigned size = types.Translate(KvSTRING_T, stored, 2, 0, source, 8, 0, 2);
  CHECK(size == 10 + 7);
  KvString loaded[2];
  CHECK(types.Translate(KvSTRING_T, loaded, 8, 0, stored, 2, 0, 2) == size);
  CHECK(Same(loaded[0], source[0]));
  KvString assigned[2];
  CHECK(types.Translate(KvSTRING_T, assigned, 8, 0, source, 8, 0, 2) == 2 * sizeof(KvString));
  CHECK(Same(assigned[1], source[1]));
  unsigned char moved[4] = {1, 2, 3, 4};
  CHECK(types.Translate(KvSTRING_T, moved, 0, 4, stored, 0, 2, 0) == 0);
  CHECK(moved[3] == 4);
}

TEST_CASE("an old run holds no more than its texts") {
  const unsigned char run[] = {4, 0, 'a', 0, 'b', 0};
  const KvTypeMgr types;
  KvString loaded("before");
  int status = -1;
  CHECK(KvTypeMgr(3).DiskLenGet(KvSTRING_T, run, 0, 0, 0) == 0);
  CHECK(types.Load(KvSTRING_T, &loaded, run, 0, 0) == 0);
  CHECK(Bytes(loaded) == "before");
  types.Hash(KvSTRING_T, sizeof run, const_cast<unsigned char*>(run), 3, 0, status);
  CHECK(status == kvBufferShort);
}

TEST_CASE("stored texts that begin with their end are empty texts") {
  const auto block = [](char letter, unsigned char codeSet, unsigned count) {
    Block bytes = {6, 0, codeSet, 1, 0};
    if (codeSet == 253) bytes = {9, 0, codeSet, 1, 0, 0};
    bytes.push_back(static_cast<unsigned char>(letter));
    bytes.resize(bytes[0] + 1u);
    bytes.push_back(0xFF);
    const Block one = bytes;
    for (; count > 1; --count) bytes.insert(bytes.end(), one.begin(), one.end());
    return bytes;
  };
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
    for (const unsigned short cmpOp : std::initializer_list<unsigned short>{0, kvCompareExact}) {
      for (const unsigned count : {1u, 2u}) {
        Block left = block('a', codeSet, count), right = block('b', codeSet, count);
        int status = -1;
        CHECK(KvTypeMgr().Cmp(KvSTRING_T, 0, left.data(), 0, right.data(), cmpOp, count, 0,
                              status) == 0);
      }
    }
  }
}

TEST_CASE("a stored string is stepped where its block is sound and the step is one") {
  const KvTypeMgr types;
  Block block = Stored("ab", 0);
  const auto length = static_cast<unsigned>(block.size());
  CHECK(types.GetValue(KvSTRING_T, block.data(), length, 0, 'O') == kvOk);
  CHECK(block == Stored("ab", 0));
  unsigned char none[16] = {};
  CHECK(types.GetValue(KvSTRING_T, none, sizeof none, 0, 'M') == kvNotSupported);
  CHECK(types.GetValue(KvSTRING_T, none, sizeof none, 0, 'O') == kvOk);
  KvString last;
  last.Fill(KvString::kMaximumBytes - 1, 'x');
  Block longest = Stored(last, 0);
  CHECK(types.GetValue(KvSTRING_T, longest.data(), 0, 0, 'M') == kvOverflow);
}

TEST_CASE("a memory file that ends inside a length field has no size") {
  const unsigned char run[] = {4, 0, 1, 1, 0, 0xFF, 4};
  MemFile file(run, sizeof run);
  const KvTypeMgr types;
  CHECK(types.DiskLenGetFromMemFile(KvSTRING_T, &file, 0, 1) == 6);
  CHECK(types.DiskLenGetFromMemFile(KvSTRING_T, &file, 0, 2) == 0);
  // No value is in no file.
  for (const char id : {KvSTRING_T, KvISTRING_T, KvBLOB_T}) {
    CHECK(types.DiskLenGetFromMemFile(id, nullptr, 0, 0) == 0);
  }
  CHECK(KvTypeMgr(3).DiskLenGetFromMemFile(KvSTRING_T, nullptr, 0, 0) == 0);
  CHECK(file.Tell() == 0);
}

// The buffers are allocated to the byte, so that the sanitizers see every read outside.
TEST_CASE("cut and damaged blocks give a status and no read outside the buffer") {
  const KvTypeMgr types;
  Random random(5);
  const std::vector<KvString> kinds = Kinds();
  for (int round = 0; round < 4000; ++round) {
    const auto format = static_cast<unsigned char>(random(3));
    Block block = Stored(kinds[random(static_cast<unsigned>(kinds.size()))], format);
    const unsigned length =
        1 + random(std::min<unsigned>(static_cast<unsigned>(block.size()), 700));
    std::unique_ptr<unsigned char[]> exact(new unsigned char[length]);
    std::memcpy(exact.get(), block.data(), length);
    if (random(2) == 0)
      exact[random(std::min(length, 6u))] = static_cast<unsigned char>(random(256));
    for (const unsigned count : {1u, 2u, 5u}) {
      int compared = -1, hashed = -1;
      const int order = types.Cmp(KvSTRING_T, length, exact.get(), length, exact.get(), 0, count,
                                  format, compared);
      types.Hash(KvSTRING_T, length, exact.get(), count, format, hashed);
      CHECK(order == 0);
      CHECK(compared == hashed);
      CHECK((compared == 0 || compared == kvBufferShort || compared == kvNotSupported));
    }
  }
}

TEST_CASE("blocks too short for a text are empty texts, and what is behind them is not read") {
  struct Case {
    Block block;
    unsigned length;  // of the buffer that the row is told of
    int status;
  };
  const Case cases[] = {
      {{0, 0, 'x', 0}, 2, kvOk},
      {{1, 0, 'x', 'x', 0}, 3, kvOk},
      {{1, 0, 'x', 'x', 0}, 2, kvBufferShort},
      {{2, 0, 1, 1, 'x', 0}, 4, kvOk},
      {{3, 0, 1, 1, 'x', 'x', 0}, 5, kvOk},
      {{3, 0, 253, 1, 'x', 'x', 0, 0}, 5, kvOk},
  };
  const KvTypeMgr types;
  Block empty = Stored("", 0);
  for (Case c : cases) {
    CAPTURE(int{c.block[0]});
    CAPTURE(c.length);
    int status = -1;
    CHECK(types.Cmp(KvSTRING_T, c.length, c.block.data(), 0, empty.data(), 0, 1, 0, status) == 0);
    CHECK(status == c.status);
  }
  // A language is read where there is one: null is told from empty.
  KvString nullString;
  nullString.SetNullValue();
  Block null{2, 0, 1, 254}, wholeNull = Stored(nullString, 0);
  int status = -1;
  CHECK(types.Hash(KvSTRING_T, 4, null.data(), 1, 0, status) ==
        types.Hash(KvSTRING_T, 0, wholeNull.data(), 1, 0, status));
  // In a run, the next one begins behind them.
  const Block text = Stored("y", 0);
  for (unsigned char body = 0; body < 4; ++body) {
    Block run(2u + body, 1), same = empty;
    run[0] = body;
    run[1] = 0;
    run.insert(run.end(), text.begin(), text.end());
    same.insert(same.end(), text.begin(), text.end());
    CAPTURE(int{body});
    CHECK(types.Cmp(KvSTRING_T, static_cast<unsigned>(run.size()), run.data(),
                    static_cast<unsigned>(same.size()), same.data(), 0, 2, 0, status) == 0);
    CHECK(status == kvOk);
  }
}

TEST_CASE("of a buffer of one byte no more is read") {
  const KvTypeMgr types;
  // More than once: of the blocks of fence.cpp some begin at the edge, and do not end there.
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 2, 0, 2}) {
    const auto last = std::make_unique<unsigned char>(static_cast<unsigned char>(4));
    int status = -1;
    CHECK(types.Cmp(KvSTRING_T, 1, last.get(), 1, last.get(), 0, 1, format, status) == 0);
    CHECK(status == kvBufferShort);
    CHECK(types.Hash(KvSTRING_T, 1, last.get(), 1, format, status) == 0);
    CHECK(status == kvBufferShort);
  }
}

TEST_CASE("a key that its buffer cuts short counts with what is there") {
  const KvTypeMgr types;
  int status = -1;
  const auto compare = [&](const char* a, unsigned lengthOfA, const char* b) {
    Block left = Stored(a, 0), right = Stored(b, 0);
    return types.Cmp(KvSTRING_T, lengthOfA, left.data(), 0, right.data(), 0, 1, 0, status);
  };
  CHECK(compare("abcdef", 4 + 3, "abc") == 0);
  CHECK(status == 0);
  CHECK(compare("abcdef", 4 + 4, "abc") == 1);
  CHECK(compare("abcdef", 3, "abc") == 0);
  CHECK(status == kvBufferShort);
  // What is cut at 256 bytes or more is no key but damage.
  const std::string longText(600, 'k');
  CHECK(compare(longText.c_str(), 255, "kkk") == 1);
  CHECK(status == 0);
  CHECK(compare(longText.c_str(), 256, "kkk") == 0);
  CHECK(status == kvNotSupported);
  Block block = Stored(longText.c_str(), 0);
  CHECK(types.Hash(KvSTRING_T, 256, block.data(), 1, 0, status) == 0);
  CHECK(status == kvNotSupported);
  Block damaged = Stored("abc", 0);  // behind a sound text
  const auto sound = static_cast<unsigned>(damaged.size());
  damaged.insert(damaged.end(), block.begin(), block.end());
  CHECK(types.Hash(KvSTRING_T, sound + 256, damaged.data(), 2, 0, status) == 0);
  CHECK(status == kvNotSupported);
  KvString null("abc");
  null.SetNullValue();
  Block nulls = Stored(null, 0);
  CHECK(types.Hash(KvSTRING_T, 4, nulls.data(), 1, 0, status) ==
        types.Hash(KvSTRING_T, 0, nulls.data(), 1, 0, status));

  // What is left of a key hashes as that many characters, its terminator being one of them.
  const KvTypeMgr old(3);
  for (const unsigned char language : {kvLanguageEnglish, o_u1b{255}}) {
    KvString key("ab");
    key.SetLanguage(language);
    block = Stored(key, 0);
    for (unsigned length = 4; length <= block.size(); ++length) {
      CAPTURE(length);
      const short present = length < block.size() ? static_cast<short>(length - 4) : short{-1};
      const unsigned expected = HashString(1, language, "ab", present, 1) * 1103515245u;
      CHECK(types.Hash(KvSTRING_T, length, block.data(), 1, 0, status) == expected);
      CHECK(old.Hash(KvSTRING_T, length, block.data(), 1, 0, status) == expected);
      CHECK(status == 0);
    }
    CHECK(types.Hash(KvSTRING_T, 0, &key, 1, 8, status) ==
          HashString(1, language, "ab", -1, 1) * 1103515245u);
  }

  KvString pair[3] = {"a", "b", "a"};
  CHECK(StringCompare(8, 2 * sizeof(KvString), pair, 0, pair, 0, 3, status) == 0);
  CHECK(status == kvBufferShort);
  Block run = Stored(types, pair, 2, 0);
  CHECK(types.Cmp(KvSTRING_T, static_cast<unsigned>(run.size()), run.data(), 0, run.data(), 0, 3, 0,
                  status) == 0);
  CHECK(status == kvBufferShort);
}
