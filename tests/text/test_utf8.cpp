// UTF-8: the fast kernels against the plain rules and against iconv, and the results and limits
// that callers rely on.
#include <doctest/doctest.h>
#include <iconv.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>

#include "kvmbs.h"
#include "kvstring.h"
#include "kvtext/utf8_blocks.h"
#include "support/host.h"
#include "support/random.h"
#include "support/texts.h"
#include "support/vector_sets.h"
#include "text/plain_utf8.h"

namespace {

KvString Latin1(const char* text) {
  KvString made(1, 1);
  made << text;
  return made;
}

// Runs of ASCII, characters of every length and, where `damage` is not 0, one byte in so many
// replaced by anything.
std::string RandomBytes(Random& random, std::size_t length, unsigned damage) {
  std::string bytes;
  while (bytes.size() < length) {
    const unsigned kind = random() % 16;
    for (unsigned run = random() % 20; kind < 6 && run > 0; --run) {
      bytes += static_cast<char>(1 + random() % 127);
    }
    if (kind < 6) continue;
    const unsigned bits = kind < 11 ? 11 : kind < 15 ? 16 : 31;
    const std::uint32_t character = (random() >> (32 - bits)) | 1;
    bytes += plain::Encode(character);
  }
  for (char& byte : bytes) {
    if (damage != 0 && random() % damage == 0) byte = static_cast<char>(random());
  }
  return bytes;
}

void CheckDecoders(const std::string& bytes) {
  CAPTURE(bytes.size());
  plain::CheckDecoders(bytes, [](bool holds) { CHECK(holds); });
}

// A character of so many bytes, often the first or the last of them.
unsigned short UnitOf(Random& random, unsigned bytes) {
  const unsigned kFirst[] = {1, 0x80, 0x800, 0x10000};
  const unsigned first = kFirst[bytes - 1], last = kFirst[bytes] - 1, kind = random() % 4;
  const unsigned unit = kind == 0 ? first : kind == 1 ? last : first + random() % (last - first);
  return static_cast<unsigned short>(unit);
}

// Random texts, mostly of one script, into buffers of every size.
void CheckEncoder(Random& random) {
  for (int round = 0; round < 300; ++round) {
    std::vector<unsigned short> units(random() % 100 + 1);
    const unsigned usual = 1 + random() % 3;
    std::string whole;
    std::vector<std::size_t> ends{0};
    for (unsigned short& unit : units) {
      unit = UnitOf(random, random() % 9 == 0 ? 1 + random() % 3 : usual);
      whole += plain::Encode(unit);
      ends.push_back(whole.size());
    }
    const KvString text(units.data(), static_cast<unsigned short>(units.size()));
    CHECK(KvMBSLength(text, 65535) == static_cast<int>(whole.size()));
    for (std::size_t n = 0; n < ends.size(); ++n) {
      CHECK(KvMBSLength(text, static_cast<unsigned short>(n)) == static_cast<int>(ends[n]));
    }
    for (std::size_t n = 0; n < whole.size() + 3; ++n) {
      const std::size_t size = n == whole.size() + 2 ? n + 100 : n;
      CAPTURE(size);
      const auto buffer = std::make_unique<char[]>(size);
      // Each byte its own, so that one of them put back in another's place is seen.
      std::iota(buffer.get(), buffer.get() + size, '\1');
      const std::string before(buffer.get(), size);
      const int result = KvString2KvMBS(text, buffer.get(), static_cast<int>(size));
      const std::size_t fit = *std::prev(std::upper_bound(ends.begin(), ends.end(), size));
      const bool complete = size >= whole.size();
      CHECK(result == static_cast<int>(complete ? fit : 0) - static_cast<int>(complete ? 0 : fit));
      CHECK(std::memcmp(buffer.get(), whole.data(), fit) == 0);
      if (complete && size > whole.size()) CHECK(buffer[whole.size()] == 0);
      const std::size_t end = std::min(size, fit + (complete ? 1 : 0));
      CHECK(before.compare(end, size - end, buffer.get() + end, size - end) == 0);
    }
  }
}

// What vectors leave of usual text is less than a block, of it or of room.
void CheckBlocks(const std::vector<unsigned short>& units, unsigned pure, std::size_t room) {
  const kv::VectorSet set = kv::Vectors();
  const bool any = set >= kv::VectorSet::kSsse3;
  const bool all = set == kv::VectorSet::kVbmi2 && sizeof(void*) == 8;
  std::string bytes;
  for (const unsigned short unit : units) bytes += plain::Encode(unit);
  CAPTURE(static_cast<int>(set));
  CAPTURE(bytes);
  std::vector<unsigned short> out(units.size() + room);
  const kv::utf8::Progress decoded = kv::utf8::DecodeBlocks(
      reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), out.data(), out.size());
  const std::size_t left = bytes.size() - decoded.read;
  const bool exact = pure == 1 || (pure == 2 && decoded.read != 0);
  std::string written(bytes.size() + room, '#');
  const kv::utf8::Progress encoded =
      kv::utf8::EncodeBlocks(units.data(), units.size(), written.data(), written.size());
  const std::size_t unitsLeft = units.size() - encoded.read;
  const bool narrow = set == kv::VectorSet::kSsse3 && pure == 1 && room == 0;
  CHECK(kv::utf8::HasBlocks(200) == any);
  CHECK(std::equal(out.begin(), out.begin() + long(decoded.written), units.begin()));
  CHECK(bytes.compare(0, encoded.written, written, 0, encoded.written) == 0);
  if (all) CHECK(left + unitsLeft == 0);
  if (!any) CHECK(decoded.read + encoded.read == 0);
  if (all || !any) return;
  CHECK((left < (exact ? 32 : 36) || out.size() - decoded.written < (exact ? 40 : 42)));
  CHECK((unitsLeft < 16 || written.size() - encoded.written < (narrow ? 32 : 64)));
}

}  // namespace

TEST_CASE("every 16-bit character encodes and decodes as iconv has it") {
  const iconv_t encoder = iconv_open("UTF-8", support::kUnitsForIconv);
  REQUIRE(encoder != reinterpret_cast<iconv_t>(-1));
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    CAPTURE(unit);
    char bytes[4];
    const int length = KvWChar2MultiByte(bytes, static_cast<wchar_t>(unit));
    const std::string_view encoded(bytes, static_cast<std::size_t>(length));
    unsigned short back = 0;
    REQUIRE(KvMultiByte2WChar(&back, bytes, static_cast<unsigned>(length)) == length);
    REQUIRE(back == unit);
    if (unit >= 0xD800 && unit <= 0xDFFF) continue;  // no characters to iconv
    auto source = static_cast<unsigned short>(unit);
    char expected[8];
    char *in = reinterpret_cast<char*>(&source), *out = expected;
    std::size_t inLeft = 2, outLeft = sizeof expected;
    REQUIRE(iconv(encoder, &in, &inLeft, &out, &outLeft) == 0);
    REQUIRE(encoded == std::string_view(expected, sizeof expected - outLeft));
  }
  iconv_close(encoder);
}

TEST_CASE("one character: the table's rules for every pair of bytes and for long sequences") {
  unsigned short unit = 0, expected = 0;
  for (unsigned pair = 0; pair <= 0xFFFF; ++pair) {
    const char bytes[] = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
    const int length = KvMultiByte2WChar(&unit, bytes, 2);
    REQUIRE(length == plain::DecodeOne({bytes, 2}, expected));
    if (length > 0) REQUIRE(unit == expected);
  }
  for (const plain::Row& row : plain::kRows) {  // the smallest that needs so many bytes, and beside
    for (const std::uint32_t value : {row.smallest, row.largest, row.smallest - 1}) {
      const std::string bytes = plain::EncodeAs(row, value & row.largest);
      const int length =
          KvMultiByte2WChar(&unit, bytes.data(), static_cast<unsigned>(bytes.size()));
      CHECK(length == plain::DecodeOne(bytes, expected));
    }
  }
  Random random(1);
  for (int round = 0; round < 300000; ++round) {
    // A lead byte, then mostly continuation bytes: all lengths, overlong forms, cut sequences.
    char bytes[7] = {static_cast<char>(0xC0 | random())};
    for (int i = 1; i < 7; ++i) bytes[i] = static_cast<char>(0x80 | (random() % 64));
    if (random() % 3 == 0) bytes[1] = static_cast<char>(0x80 | random() % 8);
    if (random() % 4 == 0) bytes[1 + random() % 6] = static_cast<char>(random());
    const unsigned available = 1 + random() % 7;
    const int length = KvMultiByte2WChar(&unit, bytes, available);
    REQUIRE(length == plain::DecodeOne({bytes, available}, expected));
    if (length > 0) REQUIRE(unit == expected);
  }
  CHECK(KvMultiByte2WChar(&unit, "\xF0\x9F\x98\x80", 4) == 4);
  CHECK(unit == 0xF600);
  CHECK(KvMultiByte2WChar(&unit, nullptr, 3) == 0);
  CHECK(KvMultiByte2WChar(&unit, "a", 0) == -1);
  CHECK(KvWChar2MultiByte(nullptr, L'a') == 0);
}

TEST_CASE("runs decode as their characters do one by one") {
  Random random(2);
  support::WithEachVectorSet([&random] {
    for (int round = 0; round < 3000; ++round) {
      CheckDecoders(RandomBytes(random, random() % 400, round % 3 == 0 ? 0 : 200));
    }
  });
  for (std::size_t at = 0; at < 40; ++at) {
    std::string zero(48, 'x');
    zero[at] = 0;
    CheckDecoders(zero);
  }
}

TEST_CASE("a piece of any script, or damage, at every place of the widest block") {
  // By their last character: well formed, cut, without a lead, overlong, of four bytes.
  const std::vector<std::string> pieces = Parts(
      "\303\251|\337\277|\342\202\254|\355\240\200|\357\277\277|\340\240\200|\303|\342\202|\342|"
      "\342A|\342\202A|\342\342\202\254|\200|\277\277|\300\200|\301\277|\340\200\200|\340\237\277|"
      "\303\300|\360\237\230|\360\220\200\200|\360\237\230\200|\370\210\200\200\200|\377|");
  support::WithEachVectorSet([&] {
    for (const char* filler : {"a", "\xC3\xA4", "\xE4\xB8\xAD"}) {
      for (const std::string& piece : pieces) {
        for (std::size_t before = 0; before <= 67; ++before) {
          std::string bytes;
          while (bytes.size() < before) bytes += before - bytes.size() < 3 ? "a" : filler;
          CheckDecoders(bytes += piece);
          while (bytes.size() < before + 66) bytes += filler;
          CheckDecoders(bytes);
        }
      }
    }
  });
}

TEST_CASE("vectors take every whole block of usual text") {
  Random random(5);
  support::WithEachVectorSet([&random] {
    for (unsigned round = 0; round < 9 * 4 * 130; ++round) {
      const unsigned usual = 1 + round % 3, rare = 1 + round / 3 % 3,
                     rate = round % 2 == 0 ? 2 : 24;
      std::vector<unsigned short> units(1 + round / 36);
      for (unsigned short& unit : units) unit = UnitOf(random, random() % rate == 0 ? rare : usual);
      constexpr std::size_t kRooms[] = {0, 16, 63, 64};
      CheckBlocks(units, usual == rare ? usual : 0, kRooms[round / 9 % 4]);
    }
  });
}

TEST_CASE("a string takes 32,767 bytes and holds 32,765 characters") {
  std::string euros;
  while (euros.size() < 33000) euros += "\xE2\x82\xAC";
  support::WithEachVectorSet([&] {
    for (const std::size_t size : {32765U, 32766U, 32767U, 32768U, 32769U, 40000U}) {
      CheckDecoders(std::string(size, 'a'));
    }
    CheckDecoders(std::string(32766, 'a') + "\xC3\xA9");  // the last character passes the ceiling
    CheckDecoders(std::string(32767, 'a') + "\xC3\xA9");
    CheckDecoders(euros);
  });
}

TEST_CASE("empty and null input, and a string decoded into itself") {
  KvString text("something");
  CHECK(KvMBS2KvString(nullptr, text, 5) == 0);
  CHECK(text.IsEmpty());
  CHECK(text.GetCodeSet() == 253);
  text = "something";
  CHECK(KvMultiByteString2KvString("abc", text, 0) == 0);
  CHECK(text.GetBufferSize() == 0);
  CHECK(KvMBS2KvString("abc", text, -4) == 0);
  CHECK(KvMultiByteStr2WCharStr(nullptr, 5, "abc", 3) == 3);
  CHECK(KvMultiByteStr2WCharStr(nullptr, 5, nullptr, 3) == 0);

  KvString self("caf\xC3\xA9");
  CHECK(KvMultiByteString2KvString(self, self) == 5);
  CHECK((plain::UnitsOf(self) == std::vector<unsigned short>{'c', 'a', 'f', 0xE9}));
}

TEST_CASE("encoding into buffers of every size splits no character") {
  Random random(3);
  support::WithEachVectorSet([&] { CheckEncoder(random); });
  // A text ends at its first zero unit, wherever a block has it.
  for (unsigned n = 0; n < 3 * 99; ++n) {
    const unsigned at = n / 3, bytes = 1 + n % 3;
    KvString text(std::vector<unsigned short>(100, UnitOf(random, bytes)).data(), 100);
    text[static_cast<unsigned short>(at)] = static_cast<unsigned short>(0);
    support::WithEachVectorSet([&] {
      char buffer[300];
      CHECK(KvString2KvMBS(text, buffer, sizeof buffer) == int(bytes * at));
    });
  }
}

TEST_CASE("letters change case at every place of a block, in either width") {
  support::WithEachVectorSet([] {
    for (std::size_t n = 0; n < 2 * 140; ++n) {
      CAPTURE(n);
      const auto text = [n](char ground, char letter) {
        std::string bytes(200, ground);
        bytes[n / 2] = bytes[n / 2 + 50] = '\xB0';  // of no case, as those beside the letters
        bytes.replace(n / 2 + 60, 5, ground == 'a' ? "`@{[z" : "`@{[Z");
        bytes[n / 2 + 9] = bytes[n / 2 + 59] = letter;
        KvString made(bytes.c_str());
        made.SetCodeSetCode(4);  // IBM 850, whose letters begin at 0x80
        if (n % 2 == 0) return made;
        made.MapToCodeSet(kvCodeSetUnicode);
        made[static_cast<int>(n / 2 + 10)] =
            static_cast<unsigned short>(0x4E00);  // its low byte is 0
        return made;
      };
      KvString mapped = text('a', '\x87');
      mapped.ToUpper();
      CHECK(mapped == text('A', '\x80'));
      mapped.ToLower();
      CHECK(mapped == text('a', '\x87'));
    }
  });
}

TEST_CASE("ASCII in an 8-bit code set goes as it is") {
  char buffer[8];
  std::memset(buffer, '#', sizeof buffer);
  KvString2KvMBS(Latin1("hello"), buffer, 3);
  CHECK(std::memcmp(buffer, "hel#", 4) == 0);
  CHECK(KvString2KvMBS(Latin1("hello"), buffer, 5) == 5);
  CHECK(buffer[5] == '#');
  CHECK(KvString2KvMBS(Latin1("hello"), buffer, 8) == 5);
  CHECK(std::memcmp(buffer, "hello\0\0\0", 8) == 0);
  CHECK(KvString2KvMBS(Latin1("hello"), nullptr, 8) == -5);
  CHECK(KvString2KvMBS(Latin1("hello"), buffer, -1) == -5);
  CHECK(KvMBSLength(Latin1("hello"), 0) == 0);
  for (unsigned char codeSet = 1; codeSet < 30; ++codeSet) {
    KvString bytes(codeSet, 1);
    CHECK(KvMBSLength(bytes, 2) == 0);
    bytes << "hello";
    CHECK(KvMBSLength(bytes, 2) == (codeSet < 6 ? 5 : 2));  // the shortcuts tell of the whole text
    CHECK(KvString2KvMBS(bytes, buffer, 3) == (codeSet < 27 ? -5 : -3));
  }
}

TEST_CASE("other text of an 8-bit code set goes through Unicode") {
  char buffer[16];
  const KvString cafe = Latin1("caf\xE9!");
  CHECK(KvMBSLength(cafe, 65535) == 6);
  CHECK(KvMBSLength(cafe, 4) == 5);
  CHECK(KvString2KvMBS(cafe, buffer, sizeof buffer) == 6);
  CHECK(std::strcmp(buffer, "caf\xC3\xA9!") == 0);
  CHECK(KvString2KvMBS(cafe, buffer, 4) == -3);
  for (unsigned short at = 0; at < 9; ++at) {
    KvString text = Latin1("ninechars");
    text[at] = '\xE9';
    CHECK(KvString2KvMBS(text, buffer, sizeof buffer) == 10);
  }
  KvString cyrillic(10, 1);  // KOI8-R
  cyrillic << static_cast<char>(0xC1);
  KvString target(10, 1);
  KvString letter(static_cast<unsigned short>(0x0430));
  target << letter;
  CHECK(KvString2KvMBS(target, buffer, sizeof buffer) == 2);
  CHECK(std::strcmp(buffer, "\xD0\xB0") == 0);
}

TEST_CASE("a buffer of just the size is big enough") {
  for (const char* text : {"ab", "\xE9"}) {  // two bytes both
    char own[3] = {'#', '#', '#'};
    char* buffer = own;
    int size = 2;
    CHECK(KvString2MultiByteString(Latin1(text), buffer, size) == 2);
    CHECK(buffer == own);
    CHECK(size == 2);
    CHECK(own[2] == '#');
    CHECK(KvString2KvMBS(Latin1(text), own, 2) == 2);
  }
  // What is measured is what is written, whether a code set's ASCII is copied or not.
  for (unsigned codeSet = 1; codeSet < 255; ++codeSet) {
    char own[16] = "";
    char* buffer = own;
    int size = 0;
    KvString text("abc[]~\\");
    text.SetCodeSetCode(static_cast<unsigned char>(codeSet));
    const int written = KvString2MultiByteString(text, buffer, size);
    CHECK(written == size - 1);
    if (buffer != own) delete[] buffer;
  }
}

TEST_CASE("a big enough buffer is provided where the caller's is not") {
  char own[8] = "";
  char* buffer = own;
  int size = sizeof own;
  CHECK(KvString2MultiByteString(Latin1("caf\xE9"), buffer, size) == 5);
  CHECK(buffer == own);
  CHECK(size == 8);

  own[0] = '#';
  size = 4;
  CHECK(KvString2MultiByteString(Latin1("caf\xE9"), buffer, size) == 5);
  CHECK(buffer != own);
  CHECK(own[0] == '#');
  CHECK(size == 6);
  CHECK(std::strcmp(buffer, "caf\xC3\xA9") == 0);
  delete[] buffer;

  buffer = nullptr;
  size = 100;
  CHECK(KvString2MultiByteString(KvString(), buffer, size) == 0);
  REQUIRE(buffer != nullptr);
  CHECK(std::strlen(buffer) == 0);
  delete[] buffer;
}
