// KvString: edits at their edges (fuzz_string_edit has sequences of them), trimming, case and
// transformation.
#include <doctest/doctest.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "string/text.h"
#include "support/vector_sets.h"

namespace {

class Doubling : public KvCharOperation {
 public:
  KvChar Apply(const KvChar& source, KvStringIterator* overflow) override {
    auto* more = new KvWCharList;
    for (int i = 0; i < 4; ++i) more->Append(source.Value());
    overflow->SetOverflow(more);
    return source;
  }
};

}  // namespace

TEST_CASE("what adds nothing, and a text put into itself, change nothing") {
  for (const unsigned char codeSet : std::initializer_list<unsigned char>{1, 253}) {
    CAPTURE(int{codeSet});
    KvString text = Make(u"abc", codeSet);
    const KvString before(text);
    KvString& itself = text;
    const char* const buffer = text.StrGet();
    text = itself;
    text.Destruct(itself);
    text << '\0';
    CHECK(text.StrGet() == buffer);  // two new blocks could end where the first one was
    text.ReplaceAll("x", "y");
    CHECK(text.StrGet() == buffer);
    text.RightTrim();
    text.Insert(KvString(""), 1);
    CHECK(text.StrGet() == buffer);
    text.Expand(3, 'x');
    CHECK(text.StrGet() == buffer);
    text.Replace(KvString("x"), 3);
    CHECK(text.StrGet() == buffer);
    if (codeSet == 253) text << static_cast<unsigned short>(0);  // a number in 8-bit text
    text.Expand(2, static_cast<unsigned short>('x'));
    text.Expand(3, static_cast<unsigned short>('x'));
    CHECK(text.MapToCodeSet(codeSet) == kvOk);
    CHECK(text.MapToCodeSet(0) == kvBadArgument);
    CHECK(text.CopyMapped(text, 1, -1) == kvBadArgument);
    CHECK(text.StrGet() == buffer);  // no new block either
    CHECK((Bytes(text) == Bytes(before) && text.GetCodeSet() == codeSet));
  }
  KvString empty;
  empty.LeftTrim();
  CHECK((empty.GetBufferSize() == 0 && empty.Len() == 0));
  empty << '\0' << KvString("") << "";
  CHECK(empty.IsEmpty());
  CHECK(KvString("abc", 0).GetBufferSize() == 0);
  CHECK(KvString(reinterpret_cast<const unsigned short*>(u"abc"), 0).GetBufferSize() == 0);
}

TEST_CASE("positions past the text do nothing, counts are clamped") {
  KvString text("abc");
  text.Replace(KvString("XYZW"), 1);
  CHECK(Bytes(text) == "aXY");
  text.Replace(KvString("Q"), 3);
  text.Insert(KvString("Q"), 4);
  text.Cut(3, 1);
  CHECK(Bytes(text) == "aXY");
  text.Cut(1, 65535);
  CHECK(Bytes(text) == "a");
  CHECK(text.Copy(1, 1).GetLanguage() == 0);  // the static empty string
  CHECK(KvString("abcdef").Copy(4, 5).GetBufferSize() == 3);
  KvString none;
  none.Insert(KvString("ab"), 0);
  CHECK((Bytes(none) == "ab" && none.GetBufferSize() == 3));
  text.Fill(3, static_cast<unsigned short>(0xE9));
  CHECK(Bytes(text) == "\xE9\xE9\xE9");
  text.Fill(1, 'x');
  CHECK(Bytes(text) == "x");
  text.Expand(3, static_cast<unsigned short>(0xE9));
  CHECK(Bytes(text) == "x\xE9\xE9");
  text.Fill(0, 'x');
  CHECK(text.IsEmpty());
}

TEST_CASE("trimming the left takes no longer than trimming the right") {
  const auto seconds = [](void (KvString::*trim)()) {
    double best = 1;
    for (int round = 0; round < 5; ++round) {
      KvString text(std::string(65000, ' ').c_str());
      const auto begin = std::chrono::steady_clock::now();
      (text.*trim)();
      best = std::min(
          best, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    return best;
  };
  // Measuring the text at every step takes a hundred times as long.
  CHECK(seconds(&KvString::LeftTrim) < 10 * seconds(&KvString::RightTrim));
}

TEST_CASE("trimming") {
  const struct {
    const char* text;
    const char* left;
    const char* right;
    const char* both;
  } kCases[] = {
      {"ab  ", "ab  ", "ab", "ab"}, {"   ", "", " ", ""}, {"  a b\t", "a b\t", "  a b", "a b"},
      {"x", "x", "x", "x"},         {"", "", "", ""},     {" \xA0z", "z", " \xA0z", "z"},
  };
  for (const auto& c : kCases) {
    for (const bool wide : {false, true}) {
      const auto trimmed = [&](void (KvString::*trim)()) {
        KvString text(c.text);
        if (wide) text.MapToCodeSet(253);
        (text.*trim)();
        text.MapToCodeSet(1);
        return Bytes(text);
      };
      CAPTURE(c.text);
      CHECK(trimmed(&KvString::LeftTrim) == c.left);
      CHECK(trimmed(&KvString::RightTrim) == c.right);
      CHECK(trimmed(&KvString::Trim) == c.both);
    }
  }
  // Mapping case leaves a buffer of just the text.
  KvString roomy("a much longer text");
  roomy.CopyMapped(KvString("ab"), 1, -1);
  CHECK(roomy.GetBufferSize() > 3);
  roomy.ToUpper();
  CHECK((Bytes(roomy) == "AB" && roomy.GetBufferSize() == 3));
  // The walk begins at the end of the buffer, and counts what lies behind the text as part of it.
  for (const auto& [buffer, kept] : {std::pair("a much longer text", "ab  "), {"abcde", "a"}}) {
    KvString longer(buffer);
    longer.CopyMapped(KvString("ab  "), 1, -1);
    longer.RightTrim();
    CHECK(Bytes(longer) == kept);
  }
}

TEST_CASE("case mapping agrees with a table of its own, at every offset of the blocks") {
  struct Letters {
    unsigned char codeSet;
    std::u16string lower, upper;  // 13 ASCII characters, then others
  };
  const std::u16string lower = u"abcxyz09@[`{~";
  const std::u16string upper = u"ABCXYZ09@[`{~";
  const Letters kLetters[] = {
      {1, lower + u"\u00E4\u00E9\u00FE\u00F7\u00FF\u00A0",
       upper + u"\u00C4\u00C9\u00DE\u00F7\u00FF\u00A0"},
      {253, lower + u"\u00E4\u0161\u03C9\u0436\u1E81\u4E2D",
       upper + u"\u00C4\u0160\u03A9\u0416\u1E80\u4E2D"},
  };
  support::WithEachVectorSet([&] {
    Random random(3);
    for (int round = 0; round < 1000; ++round) {
      const Letters& letters = kLetters[round % 2];
      std::u16string text, raised, lowered;
      const unsigned seldom = 1 + random(40);  // so that whole blocks are ASCII
      for (unsigned length = random(round % 3 == 0 ? 500 : 160); length != 0; --length) {
        const unsigned pick = random(random(seldom) == 0 ? 19 : 13);
        text.push_back(random(2) == 0 ? letters.lower[pick] : letters.upper[pick]);
        raised.push_back(letters.upper[pick]);
        lowered.push_back(letters.lower[pick]);
      }
      KvString mapped = Make(text, letters.codeSet);
      mapped.ToUpper();
      CHECK((Units(mapped) == raised));
      mapped.ToLower();
      CHECK((Units(mapped) == lowered));
    }
    for (std::size_t at = 0; at < 192; ++at) {  // one letter whose low byte is none
      std::u16string alone(192, u'A');
      alone[at] = u'\u0100';
      KvString mapped = Make(alone, 253);
      mapped.ToLower();
      CHECK(Units(mapped)[at] == u'\u0101');
      mapped.ToUpper();
      CHECK((Units(mapped) == alone));
    }
  });
}

TEST_CASE("mappings that lengthen the text leave an exact buffer") {
  KvString text("Stra\337e\xDF");
  text.ToUpper();
  CHECK(Bytes(text) == "STRASSESS");
  CHECK(text.GetBufferSize() == 10);
  text.Insert(KvString("!"), 9);
  CHECK(Bytes(text) == "STRASSESS!");

  // One character becomes three; and five from an operation of one's own.
  KvString wide = Make(u"\u0390\u0390\u0390", 253);
  wide.ToUpper();
  CHECK(wide.Len() == 9);
  Doubling doubling;
  KvString fivefold("ab");
  fivefold.Transform(doubling);
  CHECK(Bytes(fivefold) == "aaaaabbbbb");
  CHECK(fivefold.GetBufferSize() == 11);
  KvString huge;
  huge.Fill(20000, 'h');
  huge.Transform(doubling);
  CHECK(huge.Len() == 65531);
  KvString empty;
  empty.Transform(doubling);
  CHECK(empty.GetBufferSize() == 0);
}

TEST_CASE("the case of Turkish texts, in blocks and one by one") {
  for (const unsigned repeats : {1u, 40u}) {
    std::u16string small;
    std::u16string capital;
    for (unsigned done = 0; done < repeats; ++done) {
      small += u"kis\u0131 istat";
      capital += u"K\u0130SI \u0130STAT";
    }
    KvString turkish = Make(small, 253, 15);
    turkish.ToUpper();
    CHECK(Units(turkish) == capital);
    turkish.ToLower();
    CHECK(Units(turkish) == small);
    turkish.MapToCodeSet(12);
    turkish.ToUpper();
    turkish.MapToCodeSet(253);
    CHECK(Units(turkish) == capital);
    KvString german = Make(u"kis", 253, 2);
    german.ToUpper();
    CHECK(Units(german) == u"KIS");
  }
}
