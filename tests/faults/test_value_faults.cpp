// Edits of the owning value classes while the n-th allocation fails: each leaves the value as it
// was or as it should be, and a failed one is not taken for anything else.
#include <cstring>

#include "faults/allocator.h"
#include "kvchecked.h"

namespace {

using faults::Fault;
using faults::ForEachAllocation;

bool SameText(const KvString& a, const KvString& b) {
  const unsigned width = a.GetCodeSet() > 224 ? 2 : 1;
  return a.GetCodeSet() == b.GetCodeSet() && a.GetLanguage() == b.GetLanguage() &&
         a.Len() == b.Len() && std::memcmp(a.StrGet(), b.StrGet(), a.Len() * width) == 0;
}

template <class Value>
struct Edit {
  const char* name;
  void (*edit)(Value&, Value& other);
};

// `other` is a 16-bit text, so that most edits convert it first.
const Edit<KvString> kStringEdits[] = {
    {"append", [](auto& text, auto& other) { text << other; }},
    {"append a number", [](auto& text, auto&) { text << 1e100; }},
    {"append in place", [](auto& text, auto&) { text += text; }},
    {"assign", [](auto& text, auto& other) { text = other; }},
    {"assign bytes", [](auto& text, auto&) { text = "other"; }},
    {"insert", [](auto& text, auto& other) { text.Insert(other, 2); }},
    {"replace", [](auto& text, auto& other) { text.Replace(other, 1); }},
    {"cut", [](auto& text, auto&) { text.Cut(1, 2); }},
    {"expand", [](auto& text, auto&) { text.Expand(400, '.'); }},
    {"fill", [](auto& text, auto&) { text.Fill(400, '.'); }},
    {"left trim", [](auto& text, auto&) { text.LeftTrim(); }},
    {"right trim", [](auto& text, auto&) { text.RightTrim(); }},
    {"upper case", [](auto& text, auto&) { text.ToUpper(); }},
    {"widen", [](auto& text, auto&) { text.SetCodeSet(kvCodeSetUnicode); }},
    {"map", [](auto& text, auto&) { text.MapToCodeSet(4); }},
    {"copy mapped", [](auto& text, auto& other) { text.CopyMapped(other, 253, -1); }},
    {"decode", [](auto& text, auto&) { KvMBS2KvString("caf\xC3\xA9", text, 5); }},
};

const Edit<KvBlob> kBlobEdits[] = {
    {"append", [](auto& blob, auto& other) { blob += other; }},
    {"append in place", [](auto& blob, auto&) { blob += blob; }},
    {"assign", [](auto& blob, auto& other) { blob = other; }},
    {"set", [](auto& blob, auto&) { blob.SetTo("xyz", 3); }},
    {"cut", [](auto& blob, auto&) { blob.Cut(1, 2); }},
    {"expand", [](auto& blob, auto&) { blob.Expand(100); }},
    {"resize", [](auto& blob, auto&) { blob.Resize(3); }},
    {"copy to", [](auto& blob, auto& other) { other.CopyTo(blob, 1, 3); }},
};

const Edit<KvCaseIString> kPlainEdits[] = {
    {"append", [](auto& text, auto& other) { text += other; }},
    {"assign", [](auto& text, auto& other) { text = other; }},
    {"insert", [](auto& text, auto& other) { text.Insert(other, 1); }},
    {"cut", [](auto& text, auto&) { text.Cut(1, 1); }},
    {"expand", [](auto& text, auto&) { text.Expand(50, '.'); }},
    {"fill", [](auto& text, auto&) { text.Fill(50, '.'); }},
};

// Each edit of `from` with `other` is made wholly, or memory was short and it was not made or left
// what `isGivenUp` takes.
template <class Value, std::size_t count, class Same, class GivenUp>
void CheckEdits(const Edit<Value> (&edits)[count], const Value& from, const Value& other, Same same,
                GivenUp isGivenUp) {
  for (const Edit<Value>& step : edits) {
    ForEachAllocation(step.name, [&](Fault& fault) {
      Value after(from), value(from), with(other);
      step.edit(after, with);
      fault.In([&] { step.edit(value, with); });
      const bool isUnmade = same(value, from) || isGivenUp(step.name, value);
      CHECK((same(value, after) || (fault.Struck() && isUnmade)));
      CHECK(same(with, other));
    });
  }
}

// The null print string before main, while there is no memory: at its first use, and after a choice
// that fails.
struct EarlyNull {
  EarlyNull() {
    const KvString other("nil");
    Fault fault(1);
    fault.In([&] {
      std::strncpy(first, KvTypeMgr::GetNullPrintString().StrGet(), sizeof first - 1);
      KvTypeMgr::SetNullPrintString(other);
      std::strncpy(second, KvTypeMgr::GetNullPrintString().StrGet(), sizeof second - 1);
    });
    KvTypeMgr::SetNullPrintString(KvString("{NULL}"));
  }
  char first[16] = {};
  char second[16] = {};
};
const EarlyNull earlyNull;

}  // namespace

TEST_CASE("the null print string needs no memory, and stays when another cannot be had") {
  CHECK(std::strcmp(earlyNull.first, "{NULL}") == 0);
  CHECK(std::strcmp(earlyNull.second, faults::AreInjected() ? "{NULL}" : "nil") == 0);
}

TEST_CASE("edits are whole or not at all when memory is short, or leave the null blob") {
  const KvString text(
      "  Stra\xDF"
      "e  ");
  const KvString wide(reinterpret_cast<const unsigned short*>(u"\u00E9t\u00E9 1900"));
  // Decoding says that it failed, and leaves the text empty.
  CheckEdits(kStringEdits, text, wide, SameText, [](const char* name, const KvString& left) {
    return std::strcmp(name, "decode") == 0 && left.IsEmpty();
  });
  CheckEdits(
      kBlobEdits, KvBlob("abcdef", 6), KvBlob("0123456789", 10),
      [](const KvBlob& a, const KvBlob& b) { return a == b; },
      [](const char*, const KvBlob& left) { return left.IsNullValue() != 0; });
  CheckEdits(
      kPlainEdits, KvCaseIString("text"), KvCaseIString("other"),
      [](const auto& a, const auto& b) { return std::strcmp(a.StrGet(), b.StrGet()) == 0; },
      [](const char*, const auto&) { return false; });
}

TEST_CASE("functions that make texts give up cleanly when memory is short") {
  const KvString text("a, b,,c");
  ForEachAllocation("parts and sums", [&](Fault& fault) {
    const KvString other("b");
    fault.In([&] { const KvString sum(text.Left(3) + other); });
  });
  ForEachAllocation("find and replace all", [&](Fault& fault) {
    KvString list(text);
    fault.In([&] {
      list.Find("b");
      list.ReplaceAll("b", "bb");
    });
    CHECK((std::strcmp(list.StrGet(), "a, bb,,c") == 0 || fault.Struck()));
  });
  ForEachAllocation("split", [&](Fault& fault) {
    KvString list(text);
    KvString item;
    unsigned short position = 0;
    unsigned items = 0;
    fault.In([&] {
      while (items < 10 && KvSplitList(list, item, ",", position) == 0) ++items;
    });
    CHECK((items == 4 || fault.Struck()));
  });
  ForEachAllocation("encode", [&](Fault& fault) {
    const KvString wide(reinterpret_cast<const unsigned short*>(u"\u00E9\u20AC"));
    char* bytes = nullptr;
    int size = 0;
    int result = 0;
    fault.In([&] { result = KvString2MultiByteString(wide, bytes, size); });
    CHECK((result == 5 || (result == -1 && fault.Struck() && bytes == nullptr)));
    delete[] bytes;
  });
  ForEachAllocation("decode", [&](Fault& fault) {
    KvString decoded("before");
    int result = 0;
    fault.In([&] { result = KvMBS2KvString("caf\xC3\xA9", decoded, 5); });
    CHECK(result == (fault.Struck() ? -1 : 5));
    CHECK(decoded.Len() == (fault.Struck() ? 0 : 4));
  });
  ForEachAllocation("print into a buffer", [&](Fault& fault) {
    KvString list(text);
    list.Fill(100, 'x');
    char buffer[128];
    KvPrinted printed{};
    fault.In([&] {
      printed = KvPrintChecked(*DefaultTypeMgr(nullptr), KvSTRING_T, buffer, sizeof buffer, &list,
                               nullptr);
    });
    CHECK(printed.status == (fault.Struck() ? kvNoMemory : kvOk));
    CHECK(printed.length == (fault.Struck() ? 0 : 100));
  });
  ForEachAllocation("load checked", [&](Fault& fault) {
    const unsigned char stored[] = {5, 0, 0, 0, 1, 0, 0, 0, 7};
    KvBlob loaded;
    KvMeasured run;
    fault.In([&] {
      run = KvLoadChecked(*DefaultTypeMgr(nullptr), KvBLOB_T, &loaded, stored, sizeof stored, 0, 1);
    });
    CHECK((run.status == (fault.Struck() ? kvNoMemory : kvOk) && run.offset == 0));
  });
  // Three letters for each ligature are more than a transformation makes room for at first.
  ForEachAllocation("transform", [&](Fault& fault) {
    const KvString before(
        reinterpret_cast<const unsigned short*>(u"\uFB03\uFB03\uFB03\uFB03\uFB03"));
    KvString after(before);
    KvCharToUpper operation;
    fault.In([&] { after.Transform(operation); });
    CHECK((fault.Struck() ? SameText(after, before) : after.Len() == 15));
  });
  ForEachAllocation("copy attached characters", [&](Fault& fault) {
    KvStringIterator each("x", 1, 1);
    each.SetOverflow(new KvWCharList);
    fault.In([&] { CHECK(!KvStringIterator(each).IsEOS()); });
  });
  ForEachAllocation("load turned units", [&](Fault& fault) {
    const KvString wide(reinterpret_cast<const unsigned short*>(u"\u00E9\u20AC"));
    unsigned char stored[16];
    const unsigned size = DefaultTypeMgr(nullptr)->Store(KvSTRING_T, stored, &wide, 2, 1);
    KvString loaded("before");
    unsigned taken = 0;
    fault.In([&] { taken = DefaultTypeMgr(nullptr)->Load(KvSTRING_T, &loaded, stored, 2, 1); });
    CHECK(taken == (fault.Struck() ? 0 : size));
    CHECK(SameText(loaded, fault.Struck() ? KvString("before") : wide));
  });
  // A key, and a text of many hexadecimal digits, into values that are made whole or not at all.
  const KvBlob bytes("abc", 3);
  const KvIString weighted("abc");
  KvString plain("abc");
  plain.SetCodeSetCode(kvCodeSetBytes);
  const struct {
    KvSortKeyKind kind;
    const void* value;
  } kinds[] = {{{.type = KvSTRING_T}, &text},
               {{.type = KvSTRING_T, .options = kvSortKeyPlainBytes}, &plain},
               {{.type = KvBLOB_T}, &bytes},
               {{.type = KvISTRING_T}, &weighted}};
  for (const auto& each : kinds) {
    const KvSortKeyKind& kind = each.kind;
    const void* const value = each.value;
    const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
    const auto read = [&](const char* name, int shortage, int expected, auto into) {
      ForEachAllocation(name, [&](Fault& fault) {
        KvString string("before");
        KvBlob blob("before", 6);
        KvIString weights("before");
        void* back = kind.type == KvBLOB_T     ? static_cast<void*>(&blob)
                     : kind.type == KvSTRING_T ? static_cast<void*>(&string)
                                               : &weights;
        int status = kvOk;
        fault.In([&] { status = into(back); });
        const int length = kind.type == KvBLOB_T     ? blob.Length()
                           : kind.type == KvSTRING_T ? string.Len()
                                                     : weights.Len();
        CHECK((status == kvOk ? length == expected
                              : fault.Struck() && status == shortage && length == 6));
      });
    };
    unsigned char key[32];
    std::size_t size = 0;
    CHECK(KvSortKey(kind, value, 0, 8, key, sizeof key, size) == kvOk);
    read("read a key", kvNotSupported, value == &text ? 7 : 3,
         [&, length = size](void* back) { return KvSortKeyValue(kind, key, length, back, size); });
    KvString digits;
    digits.Fill(1200, '7');
    read("read a text", kvNoMemory, kind.type == KvBLOB_T ? 600 : 1200, [&](void* back) {
      const KvScanned scanned = KvScanChecked(types, kind.type, back, digits, nullptr);
      CHECK(scanned.position == (scanned.status == kvOk ? digits.Len() : 0));
      return scanned.status;
    });
  }
  ForEachAllocation("attach", [&](Fault& fault) {
    ___KvTypemgrContext(0);
    fault.In([&] { ___KvTypemgrContext(1); });
    CHECK(((DefaultTypeMgr(nullptr) == nullptr) == fault.Struck()));
    if (DefaultTypeMgr(nullptr) == nullptr) ___KvTypemgrContext(1);
  });
}
