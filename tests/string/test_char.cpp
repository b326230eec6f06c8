// KvChar and KvStringIterator.
#include <doctest/doctest.h>

#include "string/text.h"
#include "support/host.h"

TEST_CASE("a character refers into the text or holds its value") {
  KvString text("abc");
  text[1] = 'X';
  CHECK(Bytes(text) == "aXc");
  KvChar place = text[0];
  KvChar copy(place);
  copy = 'Y';
  CHECK(Bytes(text) == "aXc");
  CHECK(copy.Value() == 'Y');
  text[2] = KvChar(static_cast<unsigned short>(0x20AC), 253, 1);
  CHECK(Bytes(text) == "aX?");
  text.SetCodeSetCode(2);
  text[2] = KvChar(static_cast<unsigned short>(0x20AC), 253, 1);
  CHECK(Bytes(text) == "aX\x80");
  text[0] = static_cast<unsigned short>(0x1241);
  CHECK(Bytes(text) == "AX\x80");

  CHECK((text[3].Value() == 0 && text[3].GetCodeSet() == 2));
  CHECK(text[4].GetCodeSet() == 255);
  CHECK(text[4].GetLanguage() == 255);
  CHECK(text[4].Value() == 0);
  CHECK(text[-1].GetCodeSet() == 255);
  // Nobody writes into the text that all empty strings share.
  KvString empty;
  empty[0] = 'x';
  CHECK(KvString().IsEmpty());
  CHECK(empty.IsEmpty());
}

TEST_CASE("defaults, widths and byte order of a character") {
  KvLanguageContext::SetDefaultLanguage(10);
  CHECK(KvChar('a').GetLanguage() == 10);
  CHECK(KvChar(static_cast<unsigned short>('a')).GetLanguage() == 10);
  KvLanguageContext::SetDefaultLanguage(1);
  CHECK(KvChar('a').GetCodeSet() == 1);
  CHECK(KvChar(static_cast<unsigned short>('a')).GetCodeSet() == 253);
  CHECK(KvChar(static_cast<unsigned short>(0x1234), 1, 1).Value() == 0x34);
  CHECK(KvChar('\xE9', 9, 1).MapTo(253).Value() == 0x0439);
  CHECK(KvChar('\xE9', 9, 1).MapTo(0).GetCodeSet() == 9);

  KvChar held('a', 1, 1);
  held = static_cast<unsigned short>(0x1234);
  CHECK(held.Value() == 0x34);
  KvChar heldWide(static_cast<unsigned short>('a'));
  heldWide = static_cast<unsigned short>(0x1234);
  CHECK(heldWide.Value() == 0x1234);
  const unsigned short pair[] = {0x0141, 0};
  KvStringIterator other(pair, 240, 1);
  CHECK(other.GetCodeSet() == 240);
  CHECK((*other).Value() == 0x0141);
  CHECK((++other).IsEOS());
  CHECK(KvStringIterator(pair, 255, 1).GetCodeSet() == 253);

  // The low four bits say the order, as in a format byte: 2 for units the other way round than the
  // host has them in memory.
  using support::Swapped;
  for (const unsigned char order : std::initializer_list<unsigned char>{2, 0x12, 0xF2}) {
    unsigned short units[] = {Swapped(0x2603), Swapped('A'), 0};
    KvChar reversed(reinterpret_cast<char*>(units), 253, 1, order);
    CHECK(reversed.Value() == 0x2603);
    reversed = static_cast<unsigned short>(0x0142);
    CHECK(units[0] == Swapped(0x0142));
    reversed = KvChar('\xE9', 9, 1);
    CHECK(units[0] == Swapped(0x0439));
    reversed = 'Q';
    CHECK(reversed.Value() == 0x5139);  // the byte that is low in memory
    KvStringIterator each(reinterpret_cast<char*>(units), 253, 1, order);
    CHECK((*++each).Value() == 'A');
    CHECK((++each).IsEOS());
  }
  unsigned short plain[] = {0x0326, 0};
  KvChar inMemoryOrder(reinterpret_cast<const char*>(plain), 253, 1, 0x23);
  CHECK(inMemoryOrder.Value() == 0x0326);
  inMemoryOrder = 'Q';
  CHECK(plain[0] == 0x0351);
}

TEST_CASE("characters compare with characters and units of either width") {
  const KvChar b('b');
  const auto check = [&b](auto other, int order) {
    CAPTURE(order);
    CHECK((b == other) == (order == 0));
    CHECK((b != other) == (order != 0));
    CHECK((b < other) == (order < 0));
    CHECK((b <= other) == (order <= 0));
    CHECK((b > other) == (order > 0));
    CHECK((b >= other) == (order >= 0));
  };
  for (const int order : {-1, 0, 1}) {
    const int unit = 'b' - order;
    check(static_cast<char>(unit), order);
    check(static_cast<unsigned short>(unit), order);
    check(KvChar(static_cast<char>(unit)), order);
  }
}

TEST_CASE("classification by property order") {
  const auto classes = [](unsigned short unit, unsigned char codeSet) {
    const KvChar c(unit, codeSet, 1);
    return std::string(c.IsSpace() ? "s" : "") + (c.IsSymbol() ? "y" : "") +
           (c.IsDigit() ? "d" : "") + (c.IsAlpha() ? "a" : "") + (c.IsHan() ? "h" : "");
  };
  CHECK(classes(0, 1) == "s");
  CHECK(classes(' ', 1) == "s");
  CHECK(classes('\t', 253) == "s");
  CHECK(classes('0', 1) == "d");
  CHECK(classes('x', 253) == "a");
  CHECK(classes('+', 1) == "y");
  CHECK(classes(0xE9, 9) == "a");  // a Cyrillic letter in an 8-bit code set
  CHECK(classes(0x4E2D, 253) == "h");
  CHECK(classes(0x03B1, 253) == "a");
  CHECK(classes(0x0378, 253) == "y");  // unassigned codes count by their number
  CHECK(classes(0xFFFE, 253) == "h");
}

TEST_CASE("the iterator delivers overflow characters before it goes on") {
  KvString text("\xDFz");
  KvStringIterator each(text);
  const KvChar first = (*each).ToUpper(&each);
  CHECK(first.Value() == 'S');
  CHECK(!each.IsEOS());
  ++each;
  CHECK((*each).Value() == 'S');
  ++each;
  CHECK((*each).Value() == 'z');
  KvStringIterator copy(each);
  CHECK(copy == each);
  CHECK(((*copy++).Value()) == 'z');
  CHECK(copy.IsEOS());
  // Pending characters keep the end away; going back does not look at them.
  auto* pending = new KvWCharList;
  for (unsigned short unit = 0x20AC; unit < 0x20C0; ++unit) pending->Append(unit);
  copy.SetOverflow(pending);
  copy.SetOverflow(pending);
  CHECK((*copy).GetCodeSet() == 1);
  copy.SetOverflow(pending, 253);
  CHECK(!copy.IsEOS());
  KvWCharList& list = *pending;
  *pending = list;
  KvStringIterator withPending = copy;
  KvStringIterator& itself = withPending;
  withPending = itself;
  // A character that gives one in the other case leaves them alone.
  CHECK(KvChar('a').ToUpper(&withPending).Value() == 'A');
  for (unsigned short unit = 0x20AC; unit < 0x20C0; ++unit) {
    CHECK(((*withPending).Value() == unit && (*copy).GetCodeSet() == 253));
  }
  CHECK((*withPending).Value() == 0);
  KvStringIterator forward(each);
  forward.Step(2);
  CHECK(forward.IsEOS());
  copy.Step(0);
  CHECK(copy == each);
  CHECK((*copy--).Value() == 'z');
  CHECK((*copy).Value() == 0xDF);

  KvString none;
  CHECK(KvStringIterator(none).IsEOS());
  KvStringIterator nowhere(static_cast<const char*>(nullptr), 1, 1);
  CHECK(nowhere.IsEOS());
  CHECK((*nowhere).Value() == 0);
  for (int asked = 0; asked < 2; ++asked) CHECK(nowhere.GetNextOrder(0) == 0);
  CHECK(KvChar('\xDF').ToUpper(nullptr).Value() == 'S');
  each.Destroy();
  CHECK(each.IsEOS());
}

TEST_CASE("an iterator over one character keeps its own copy") {
  alignas(KvStringIterator) unsigned char rubbish[sizeof(KvStringIterator)];
  std::memset(rubbish, 0xAA, sizeof rubbish);
  auto* const alone = new (rubbish) KvStringIterator(KvChar(static_cast<unsigned short>(0x4E2D)));
  KvStringIterator kept(*alone);
  CHECK((**alone).Value() == 0x4E2D);
  CHECK((++*alone).IsEOS());
  const KvStringIterator after(*alone);
  CHECK((after == *alone));
  CHECK(alone->GetNextOrder(0) == 0);
  std::memset(rubbish, 0xAA, sizeof rubbish);
  CHECK((*kept).Value() == 0x4E2D);
  KvString text("ab");
  KvStringIterator one(text[1]);
  KvStringIterator copy = one;
  text[1] = 'X';
  CHECK((*one).Value() == 'b');
  CHECK((*copy).Value() == 'b');
  CHECK(copy == one);
  CHECK((++copy).IsEOS());
  CHECK(!(copy == one));
  CHECK(++one == copy);
  CHECK(!(KvStringIterator(text[0]) == one));
  KvStringIterator other(text[1]);
  CHECK(!(other == KvStringIterator(text[1])));
  copy.Destroy();
  CHECK(!(copy == one));
  // A copy goes on with the second order of its character.
  KvStringIterator ligature(KvChar('\xE6'));
  CHECK(ligature.GetNextOrder(0) == KvCodeSet(1).Orders(0xE6, 1).first);
  KvStringIterator second(ligature);
  CHECK(second.GetNextOrder(0) == KvCodeSet(1).Orders(0xE6, 1).second);
  CHECK((second.IsEOS() && !ligature.IsEOS()));
}

TEST_CASE("transforming writes through the output iterator") {
  KvString text("ma\xDF");
  char room[16] = {};
  std::memset(room, '#', sizeof room - 1);
  KvStringIterator out(room, 253, 1);
  KvStringIterator in(text);
  KvCharToUpper upper;
  in.Transform(out, upper);
  CHECK(in.IsEOS());
  CHECK(out.IsEOS());
  CHECK(std::u16string(reinterpret_cast<char16_t*>(room)) == u"MASS");
  text = Make(u"M\u0130\u00C4", 253);
  KvCharToLower lower;
  text.Transform(lower);
  CHECK(Units(text) == u"mi\u0307\u00E4");
}
