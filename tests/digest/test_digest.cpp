// Generated values and what is done with them, the same on every host, folded into numbers:
// a million values in stored form, hashed, ordered, stepped and keyed; some of them printed,
// scanned, estimated and moved in runs; texts that are edited and searched. digests.txt beside this
// file was written on x86-64; every other host must come to the same numbers, and so must
// tomorrow's code.
//
// A line is a name (a row's, or a class's), a part and its number. The stored parts are 4 and 46
// batches long: emulators have time for 4, KV_DIGEST_BATCHES=4. KV_DIGEST_WRITE=FILE writes the
// numbers there instead of comparing.
#include <doctest/doctest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "kvchecked.h"
#include "kvistring.h"
#include "kvmbs.h"
#include "kvsortkey.h"
#include "support/values_of.h"

namespace {

using support::Bytes;
using support::kMemory;
using support::Source;
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
  void Text(const KvString& text) {
    Number(text.GetCodeSet() | unsigned{text.GetLanguage()} << 8 |
           unsigned{text.GetBufferSize()} << 16);
    const auto* units = reinterpret_cast<const unsigned short*>(text.StrGet());
    const bool isWide = KvIsWideCodeSet(text.GetCodeSet());
    Add(isWide ? support::StoredBytes(units, text.Len(), false)
               : support::StoredBytes(text.StrGet(), text.Len(), false));
  }
  std::string Result() const {
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

// ---------------------------------------------------------------------------------------------
// What else is done with values.

constexpr const char* kFormats[] = {nullptr,
                                    "%d",
                                    "%+09x|",
                                    "%-12.3f.",
                                    "%.4e%H",
                                    "%lhu%%",
                                    "%s",
                                    "%H:%M:%S.%N %p",
                                    "%e.%m.%Y %I%P",
                                    "%A %d. %B %y %j %Z",
                                    "%b %a %y%D",
                                    "%?(x%m()%Y",
                                    "%h",
                                    "true%no"};

void AddTexts(Digest& digest, char id, void* value, const Bytes& other) {
  for (const char* format : kFormats) {
    KvString text;
    digest.Text(Types().PrintToKvString(id, text, value, format, 1));
    char room[24];
    const KvPrinted printed = KvPrintChecked(Types(), id, room, sizeof room, value, format);
    digest.Status(printed.status);
    digest.Number(printed.length);
    const Values back(id, {other});
    const KvScanned scanned = KvScanChecked(Types(), id, back[0], text, format);
    digest.Status(scanned.status);
    digest.Number(scanned.position);
    for (const unsigned char codeSet : {kvCodeSetLatin1, kvCodeSetUnicode}) {
      text.MapToCodeSet(codeSet);
      Types().ScanFromKvString(id, back[0], text, format, 1);
      digest.Add(back.Stored(0, 0));
    }
  }
}

// The stored bytes, cut and damaged.
void AddChecks(Digest& digest, char id, Bytes stored, Source& source) {
  const auto size = static_cast<unsigned>(stored.size());
  const unsigned length = source.Below(size + 2);
  if (size != 0) stored[source.Below(size)] ^= static_cast<unsigned char>(1 << source.Below(8));
  stored.resize(size + 1);
  const Values loaded(id, {{}});
  for (const unsigned char order : {std::uint8_t{0}, std::uint8_t{2}}) {
    const KvMeasured measured =
        KvLoadChecked(Types(), id, loaded[0], stored.data(), std::min(length, size), order, 1);
    digest.Status(measured.status);
    for (const std::size_t number : {std::size_t{measured.count}, measured.bytes, measured.offset,
                                     measured.needed, std::size_t{measured.strange}}) {
      digest.Number(number);
    }
    digest.Text(measured.reason);
    digest.Add(loaded.Stored(0, 0));
  }
}

void AddKeys(Digest& digest, char id, void* value) {
  for (unsigned char options = 0; options < 16; ++options) {
    const KvSortKeyKind kind{.type = id, .options = options};
    unsigned char key[256];
    std::size_t size = 0;
    digest.Status(KvSortKey(kind, value, 0, kMemory, key, sizeof key, size));
    digest.Add(key, std::min(size, sizeof key));
    const Values back(id, {{}});
    digest.Status(KvSortKeyValue(kind, key, std::min(size, sizeof key), back[0], size));
    digest.Add(back.Stored(0, 0));
    for (const unsigned char range : {kvSortKeyBeginning, kvSortKeySameBase}) {
      unsigned char upper[256];
      std::size_t sizes[2] = {};
      digest.Status(KvSortKeyRange(kind, range, value, 0, kMemory, sizeof key, key, sizes[0], upper,
                                   sizes[1]));
      digest.Add(key, std::min(sizes[0], sizeof key));
      digest.Add(upper, std::min(sizes[1], sizeof upper));
    }
  }
}

void AddEstimate(Digest& digest, char id, KvIdxBounds* bounds, const void* constant,
                 unsigned char format) {
  for (unsigned short predicate = 1; predicate < 8; ++predicate) {
    KvIdxBounds fresh;
    unsigned short left = predicate;
    const float share = Types().EvalAndBound(id, bounds, left, constant, format, 1,
                                             format == kMemory ? nullptr : &fresh, nullptr);
    digest.Number(std::isfinite(share) ? static_cast<o_u8b>(std::lround(share * 1e6)) : ~o_u8b{0});
    digest.Number(left);
    if (fresh.lower != nullptr) digest.Add(fresh.lower, fresh.lowerLength);
    if (fresh.upper != nullptr) digest.Add(fresh.upper, fresh.upperLength);
    std::free(fresh.lower);
    std::free(fresh.upper);
  }
}

void AddEstimates(Digest& digest, const Values& values, unsigned at, unsigned low, unsigned high) {
  const char id = values.Id();
  if (Types().Cmp(id, values[low], values[high], kvCompareExact, 1, kMemory) > 0) {
    std::swap(low, high);
  }
  KvIdxBounds bounds;
  bounds.lower = static_cast<unsigned char*>(values[low]);
  bounds.upper = static_cast<unsigned char*>(values[high]);
  AddEstimate(digest, id, &bounds, values[at], kMemory);
  for (const unsigned char order : {std::uint8_t{0}, std::uint8_t{2}}) {
    Bytes constant = values.Stored(order, at), lower = values.Stored(order, low),
          upper = values.Stored(order, high);
    bounds = {lower.data(), upper.data(), static_cast<unsigned char>(lower.size()),
              static_cast<unsigned char>(upper.size())};
    AddEstimate(digest, id, &bounds, constant.data(), order);
    bounds.upper = nullptr;
    AddEstimate(digest, id, &bounds, constant.data(), order);
  }
}

// Texts that begin alike and go on with characters of one kind, or of any: between words, numbers,
// signs and other scripts a constant, which may be a pattern, has a place of its own.
Values DrawTexts(char id, Source& source) {
  static const std::u16string kKinds[] = {u"abmyz",
                                          u"bmYZ",
                                          u"0189",
                                          u" !/~\xBC",
                                          u"a?*\\",
                                          u"\xE4\xDF\x142\xF8",
                                          u"\x3B1\x410\x42F\x4E00"};
  const auto codeSet =
      id == KvSTRING_T ? source.Pick<unsigned char>({1, 253, 253}) : kvCodeSetLatin1;
  const auto language = source.Pick<unsigned char>({0, 1, 2, 5, 8, 10, 13, 19, 20, 21, 255});
  const unsigned longest = source.Pick({2U, 4U, 4U, 16U, 50U});
  const unsigned kind = source.Below(2 * std::size(kKinds));
  std::u16string beginning(source.Pick({0U, 0U, 0U, 1U, 60U, 63U, 64U}), u'e');
  std::vector<Bytes> texts;
  for (unsigned each = 0; each < 3; ++each) {
    std::u16string text = beginning;
    for (unsigned left = source.Below(longest) + 1; left-- > 0;) {
      const std::u16string& from =
          kKinds[kind < std::size(kKinds) ? kind : source.Below(std::size(kKinds))];
      text += from[source.Below(static_cast<unsigned>(from.size()))];
    }
    if (each == 0 && source.Below(3) == 0) text += u'*';
    std::string units;
    for (const char16_t unit : text) {
      units += static_cast<char>(unit);
      if (KvIsWideCodeSet(codeSet)) units += static_cast<char>(unit >> 8);
    }
    texts.push_back(support::StringBytes(codeSet, language, units));
  }
  return {id, std::move(texts)};
}

void AddRun(Digest& digest, const Values& values, unsigned from, unsigned other, unsigned count) {
  const char id = values.Id();
  int status = 0;
  const Values copy(id, std::vector<Bytes>(count));
  for (const unsigned char order : {std::uint8_t{0}, std::uint8_t{2}}) {
    Bytes run = values.Stored(order, from, count), second = values.Stored(order, other, count);
    digest.Add(run);
    digest.Number(Types().Load(id, copy[0], run.data(), order, count));
    digest.Add(copy.Stored(0, 0, count));
    digest.Number(Types().Hash(id, 0, run.data(), count, order, status));
    digest.Status(
        Types().Cmp(id, 0, run.data(), 0, second.data(), kvCompareExact, count, order, status));
    digest.Number(Types().DiskLenGet(id, run.data(), order, count, 0));
    digest.Number(KvMeasureStored(Types(), id, run.data(), run.size(), order, count).bytes);
  }
  digest.Number(Types().Hash(id, 0, values[from], count, kMemory, status));
  digest.Status(
      Types().Cmp(id, 0, values[from], 0, values[other], kvCompareExact, count, kMemory, status));
  for (const unsigned char options : {std::uint8_t{0}, kvSortKeyDescending}) {
    Bytes keys(256 * std::size_t{count});
    std::vector<std::size_t> offsets(count + 1);
    std::size_t size = 0;
    digest.Status(KvSortKeyRun({.type = id, .options = options}, values[from], 0, kMemory, count,
                               keys.data(), keys.size(), offsets.data(), size));
    digest.Add(keys.data(), std::min(size, keys.size()));
  }
}

void AddUses(Digest& digest, const Values& values, Source& source) {
  const char id = values.Id();
  const unsigned all = values.Count();
  for (unsigned i = 0; i < all; ++i) {
    const unsigned low = source.Below(all), high = source.Below(all);
    const Bytes stored = values.Stored(0, i);
    AddTexts(digest, id, values[i], values.Stored(0, low));
    AddChecks(digest, id, stored, source);
    AddKeys(digest, id, values[i]);
    AddEstimates(digest, values, i, low, high);
  }
  for (const unsigned count :
       {1U, 2U, 3U, 4U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U, 63U, 64U, 65U}) {
    const unsigned from = source.Below(all - count), other = source.Below(all - count);
    AddRun(digest, values, from, other, count);
    AddRun(digest, values, from, from, count);
  }
}

// ---------------------------------------------------------------------------------------------
// Texts. What an edit takes is drawn before it, in this order on every host.

struct Drawn {
  explicit Drawn(Source& source)
      : position(static_cast<unsigned short>(source.Below(12))),
        count(static_cast<unsigned short>(source.Below(12))),
        codeSet(source.Pick<unsigned char>({0, 1, 2, 4, 253, 253})),
        language(source.Pick<unsigned char>({0, 1, 2, 5, 9, 13, 255})),
        byte(source.Pick<char>({'a', 'E', 's', ' ', '7', '\xE4', '\xDF', '\0'})),
        unit(source.Pick<unsigned short>({'a', ' ', 0xE9, 0x0130, 0x0153, 0x03B1, 0x4E00, 0})),
        cmpOp(static_cast<unsigned short>(source.Below(64) << 4)),
        number(static_cast<o_8b>(source.Random() >> source.Below(64))) {}

  unsigned short position, count;
  unsigned char codeSet, language;
  char byte;
  unsigned short unit, cmpOp;
  o_8b number;
};

KvString DrawText(Source& source) {
  KvString text;
  for (unsigned left = source.Below(6); left-- > 0;) {
    const Values part(KvSTRING_T, {source.String()});
    const auto& next = *static_cast<const KvString*>(part[0]);
    text.Len() == 0 ? void(text = next) : void(text << next);
    if (source.Below(4) == 0) text << "  12 ";
  }
  return text;
}

template <class Text>
using Edit = void (*)(Text& text, const Text& other, const Drawn& drawn);

// What both sorts of strings have: t is edited, o is another text, d what was drawn.
template <class Text>
constexpr Edit<Text> kEdits[] = {
    [](auto& t, auto&, auto& d) { t.Cut(d.position, d.count); },
    [](auto& t, auto& o, auto& d) { t.Insert(o, d.position); },
    [](auto& t, auto& o, auto& d) { t.Replace(o, d.position); },
    [](auto& t, auto&, auto& d) { t.Expand(d.count, d.byte); },
    [](auto& t, auto&, auto& d) { t.Fill(d.count, d.byte); },
    [](auto& t, auto&, auto&) { t.ToLower(); },
    [](auto& t, auto&, auto&) { t.ToUpper(); },
    [](auto& t, auto& o, auto&) { t = t + o; },
    [](auto& t, auto&, auto& d) { t = t.Copy(d.position, d.count); },
    [](auto& t, auto&, auto& d) { t += Text(d.number); },
    [](auto& t, auto&, auto& d) {
      t = Text(std::ldexp(static_cast<double>(d.number), -int{d.count}));
    },
};

constexpr Edit<KvString> kStringEdits[] = {
    [](auto& t, auto&, auto& d) { t.Expand(d.count, d.unit); },
    [](auto& t, auto&, auto& d) { t.Fill(d.count, d.unit); },
    [](auto& t, auto&, auto&) { t.LeftTrim(); },
    [](auto& t, auto&, auto&) { t.RightTrim(); },
    [](auto& t, auto&, auto&) { t.Trim(); },
    [](auto& t, auto&, auto& d) { t.SetCodeSet(d.codeSet); },
    [](auto& t, auto&, auto& d) { t.SetCodeSetCode(d.codeSet); },
    [](auto& t, auto&, auto& d) { t.MapToCodeSet(d.codeSet); },
    [](auto& t, auto& o, auto& d) { t.CopyMapped(o, d.codeSet, static_cast<short>(d.count - 1)); },
    [](auto& t, auto&, auto& d) { t << d.unit << d.byte; },
    [](auto& t, auto&, auto& d) { t.SetLanguage(d.language); },
    [](auto& t, auto& o, auto& d) { t.ReplaceAll(t.Copy(d.position, 1), o, d.count); },
    [](auto& t, auto&, auto& d) { t.ReplaceAll('a', d.byte, d.position); },
    [](auto& t, auto&, auto& d) {
      t.ReplaceAll(static_cast<unsigned short>(' '), d.unit, d.position);
    },
    // Over the terminator nothing is written: an iterator has no other end.
    [](auto& t, auto&, auto& d) {
      if (d.position < t.Len()) t[d.position] = d.unit;
    },
    [](auto& t, auto& o, auto& d) {
      if (d.position < t.Len()) t[d.position] = KvString(o)[d.count];
    },
    [](auto& t, auto&, auto& d) { t = t.Right(d.count); },
    [](auto& t, auto& o, auto& d) {
      unsigned short at = d.position;
      KvString item;
      KvSplitList(t, item, o.Left(2), at);
      t << item << at;
    },
};

void AddAnswers(Digest& digest, KvString& text, const KvString& other, const Drawn& drawn) {
  digest.Text(text);
  digest.Status(text.Compare(other, static_cast<short>(drawn.count - 1), drawn.cmpOp));
  digest.Status(text.Find(other.Copy(1, 2), drawn.position, drawn.cmpOp));
  digest.Status(text.Find(drawn.byte, drawn.position, drawn.cmpOp));
  digest.Status(text.Find(drawn.unit, drawn.position, drawn.cmpOp));
  digest.Status(text.EqualsIgnoreLanguage(other));
  int number = 0;
  long long large = 0;
  digest.Status(text.Strtol(number) + 2 * text.Strtoll(large));
  digest.Number(static_cast<o_u8b>(large) + static_cast<o_u8b>(number));
  digest.Status(text.Atol(number) + 2 * text.Atoll(large));
  digest.Number(static_cast<o_u8b>(large) - static_cast<o_u8b>(number));
  digest.Add(support::BitsOf(static_cast<double>(text)));
  char bytes[64] = {};
  const int room = 5 * drawn.count;
  digest.Status(KvMBSLength(text, drawn.count));
  const int status = KvString2KvMBS(text, bytes, room);
  digest.Status(status);
  KvString back;
  if (status >= 0) digest.Status(KvMBS2KvString(bytes, back, drawn.position));
  digest.Text(back);
  for (KvStringIterator each(text); !each.IsEOS();) digest.Number(each.GetNextOrder(drawn.cmpOp));
}

template <class Weighted>
void AddAnswers(Digest& digest, const Weighted& text, const Weighted& other, const Drawn& drawn) {
  digest.Add(text.StrGet(), text.Len());
  digest.Status(text.Compare(other, drawn.count));
  digest.Status(text.SubStringPos(other.Copy(1, 2)));
  digest.Number(text.Hash());
  digest.Number(static_cast<o_u8b>(static_cast<long long>(text)));
  digest.Add(support::BitsOf(static_cast<double>(text)));
}

template <class Weighted>
Weighted DrawWeighted(Source& source) {
  std::string text = source.Latin();
  text += source.Latin();
  return text.size() % 2 == 0 ? Weighted((text + source.Latin() + "12 a").c_str())
                              : Weighted(text.c_str());
}

template <class Text, class Draw>
void AddEdits(Digest& digest, unsigned rounds, Draw draw, const std::vector<Edit<Text>>& edits) {
  Source source(7);
  for (unsigned round = 0; round < rounds; ++round) {
    Text text = draw(source);
    for (unsigned left = 3; left-- > 0;) {
      const Text other = draw(source);
      const Drawn drawn(source);
      edits[source.Below(static_cast<unsigned>(edits.size()))](text, other, drawn);
      AddAnswers(digest, text, other, drawn);
    }
  }
}

template <class Text>
std::vector<Edit<Text>> CommonEdits() {
  return {std::begin(kEdits<Text>), std::end(kEdits<Text>)};
}

// ---------------------------------------------------------------------------------------------
// What digests.txt has for a name and a part. Under KV_DIGEST_WRITE it is written there.

void Check(const std::string& name, const std::string& part, const Digest& digest) {
  CAPTURE(name);
  CAPTURE(part);
  if (const char* file = std::getenv("KV_DIGEST_WRITE")) {
    static std::ofstream out(file);
    out << name << " " << part << " " << digest.Result() << "\n";
    return;
  }
  static const auto expected = [] {
    std::map<std::pair<std::string, std::string>, std::string> numbers;
    std::ifstream in(KV_SOURCE_DIR "/tests/digest/digests.txt");
    for (std::pair<std::string, std::string> key; in >> key.first >> key.second;) {
      in >> numbers[key];
    }
    return numbers;
  }();
  REQUIRE(expected.count({name, part}) == 1);
  CHECK(digest.Result() == expected.at({name, part}));
}

}  // namespace

TEST_CASE("a million values are stored, ordered, hashed, stepped and keyed alike on every host") {
  const char* fewer = std::getenv("KV_DIGEST_BATCHES");
  const unsigned most = fewer != nullptr ? static_cast<unsigned>(std::atoi(fewer)) : kBatches[1];
  REQUIRE(most >= kBatches[0]);
  for (char id = 0; id < support::kRowCount; ++id) {
    Digest digest;
    unsigned batch = 0;
    for (const unsigned end : kBatches) {
      if (end > most) break;
      for (; batch < end; ++batch) {
        AddBatch(digest, id,
                 batch % 4 == 3 ? support::WildValues(id, kBatch, batch)
                                : support::OrdinaryValues(id, kBatch, batch));
      }
      Check(Types().NameGet(id, nullptr), std::to_string(end), digest);
    }
  }
}

TEST_CASE("values are printed, scanned, checked, estimated and moved in runs alike") {
  for (char id = 0; id < support::kRowCount; ++id) {
    Digest digest;
    Source source(99);
    AddUses(digest, Values(id, support::OrdinaryValues(id, 90, 3)), source);
    if (Types().IsFixed(id) != 0) AddUses(digest, Values(id, support::WildValues(id, 70)), source);
    const bool isText = id == KvSTRING_T || id == KvISTRING_T || id == KvCASEISTRING_T;
    for (unsigned left = isText ? 2000 : 0; left > 0; --left) {
      AddEstimates(digest, DrawTexts(id, source), 0, 1, 2);
    }
    Check(Types().NameGet(id, nullptr), "uses", digest);
  }
}

TEST_CASE("texts are edited, compared and searched alike") {
  Digest digest;
  std::vector<Edit<KvString>> edits = CommonEdits<KvString>();
  edits.insert(edits.end(), std::begin(kStringEdits), std::end(kStringEdits));
  AddEdits<KvString>(digest, 4000, DrawText, edits);
  Check("KvString", "edits", digest);
  digest = {};
  AddEdits<KvIString>(digest, 1000, DrawWeighted<KvIString>, CommonEdits<KvIString>());
  Check("KvIString", "edits", digest);
  digest = {};
  AddEdits<KvCaseIString>(digest, 1000, DrawWeighted<KvCaseIString>, CommonEdits<KvCaseIString>());
  Check("KvCaseIString", "edits", digest);
}
