// Text keys back to texts of collation orders.
#include "kvbase/key_bytes.h"
#include "kvstring/collate_units.h"
#include "kvstring/string_edit.h"
#include "kvstring/text_key.h"
#include "kvstring/text_key_layout.h"

namespace kv {
namespace {

// Level 1 as primary halves, one after the other.
class LevelOneReader {
 public:
  LevelOneReader(KeySource& source, unsigned short cmpOp)
      : source_(source), least_((cmpOp & kvCompareSkipSpaces) != 0 ? kFirstSymbolOrder : 1) {}

  // False for bytes that are no code. 0 is the end.
  bool Next(unsigned& primary) {
    if (pending_ != 0) {
      primary = pending_;
      pending_ = 0;
      return true;
    }
    const Following wanted = wanted_;
    wanted_ = Following::kFirstHalf;
    unsigned char byte;
    if (!source_.Take(byte) || !Decode(byte, primary)) return false;
    if (primary != 0 && primary < least_) return false;
    // A code that says what follows and one that says otherwise is none.
    const Following found = FollowingOf(primary);
    return wanted == Following::kFirstHalf || found == wanted;
  }

 private:
  bool Decode(unsigned char byte, unsigned& primary) {
    primary = 0;
    if (byte == kLevelOneEnd) return true;
    if (byte >= kNearScriptByte) return DecodeScript(byte, primary);
    if (byte >= kLetterByte) {
      const unsigned number = byte - kLetterByte;
      primary = kOrderOfA + number / 3 * 4 + number % 3;
      return true;
    }
    if (byte >= kDigitByte && byte < 0x77) return DecodeDigit(byte - kDigitByte, primary);
    for (const LevelOneByte& entry : kLevelOneBytes) {
      if (byte < entry.byte || byte > entry.byte + (entry.last - entry.first)) continue;
      primary = entry.first + byte - entry.byte;
      return true;
    }
    return DecodeLead(byte, primary);
  }

  bool DecodeLead(unsigned char byte, unsigned& primary) {
    for (const LevelOneLead& entry : kLevelOneLeads) {
      const unsigned leads = ((entry.last - entry.first) >> 8 * (entry.size - 1)) + 1;
      if (byte < entry.lead || byte >= entry.lead + leads) continue;
      unsigned number = byte - entry.lead;
      if (!TakeNumber(entry.size - 1, number)) return false;
      primary = entry.first + number;
      // Extension 3 is never primary.
      return primary <= entry.last && !(primary >= kFirstLetterOrder && (primary & 3) == 3);
    }
    return false;
  }

  bool DecodeDigit(unsigned step, unsigned& primary) {
    const unsigned digit = step / 2;
    primary = kFirstDigitOrder + 10 * digit;
    if (step % 2 == 0) return true;
    unsigned number = 0;
    if (!TakeNumber(1, number)) return false;
    primary += 2 * (number + 1);
    return primary < (digit == 9 ? kFirstLetterOrder : kFirstDigitOrder + 10 * (digit + 1));
  }

  bool DecodeScript(unsigned char byte, unsigned& primary) {
    const bool isFar = byte >= kFarScriptByte;
    unsigned number = byte - (isFar ? kFarScriptByte : kNearScriptByte);
    if (!TakeNumber(isFar ? 2 : 1, number)) return false;
    primary = (isFar ? kFarScripts : kFirstOtherOrder) + number / 4;
    if (primary > 0xFFFF || primary == 0x8001 || primary == 0x8003) return false;
    wanted_ = static_cast<Following>(number % 4);
    if (wanted_ == Following::kFirstHalf) pending_ = kFirstOtherOrder;
    if (wanted_ == Following::kSecondHalf) pending_ = kFirstOtherOrder + 2;
    if (pending_ != 0) wanted_ = Following::kFirstHalf;
    return true;
  }

  bool TakeNumber(unsigned bytes, unsigned& number) {
    for (; bytes != 0; --bytes) {
      unsigned char byte;
      if (!source_.Take(byte)) return false;
      number = number << 8 | byte;
    }
    return true;
  }

  KeySource& source_;
  unsigned least_;
  unsigned pending_ = 0;
  // What the code before says of this one: kLess, kMore, or kFirstHalf for nothing.
  Following wanted_ = Following::kFirstHalf;
};

struct Mark {
  enum class About { kAccent, kCase, kVariant, kEnd } about;
  unsigned position;  // of the order that it is on
  unsigned value;     // of an accent or a case; 20 at the end of a key of that class, else 1
  bool isAbove;       // a case behind the plain one
};

class MarkReader {
 public:
  explicit MarkReader(KeySource& source) : source_(source) {}

  // False for bytes that are no mark, or not here.
  bool Next(Mark& mark) {
    unsigned char byte;
    return source_.Take(byte) && Decode(byte, mark);
  }

 private:
  bool Decode(unsigned char byte, Mark& mark) {
    unsigned number = 0;
    if (byte == kTextKeyEnd || byte == kTextKeyEndOfClass20) {
      mark = {Mark::About::kEnd, 0, byte == kTextKeyEnd ? 1u : 20u, false};
      return true;
    }
    if (byte > kCaseAbove.begin) {
      return TakeNumber(byte, kAccent, number) &&
             Place(mark, Mark::About::kAccent, number / 31, 31 - number % 31);
    }
    if (byte < kTextKeyEnd) {
      return TakeNumber(byte, kCaseBelow, number) &&
             Place(mark, Mark::About::kCase, number / 3, number % 3);
    }
    if (byte <= kVariant.begin) {
      return TakeNumber(byte, kVariant, number) && Place(mark, Mark::About::kVariant, number, 3);
    }
    return TakeNumber(byte, kCaseAbove, number) &&
           Place(mark, Mark::About::kCase, number / 3, 3 - number % 3, true);
  }

  bool TakeNumber(unsigned char byte, const MarkCode& code, unsigned& number) {
    const unsigned step = code.isMirrored ? code.begin - byte : byte - code.begin;
    number = step;
    if (step < code.bytes) return true;
    const unsigned more = step - code.bytes + 1;
    unsigned rest = 0;
    for (unsigned i = 0; i < more; ++i) {
      if (!source_.Take(byte)) return false;
      rest = rest << 8 | (code.isMirrored ? byte ^ 0xFFu : byte);
    }
    number = code.bytes + (more > 1 ? 256u : 0u) + (more > 2 ? 65536u : 0u) + rest;
    return true;
  }

  bool Place(Mark& mark, Mark::About about, unsigned gap, unsigned value, bool isAbove = false) {
    if (about < about_) return false;
    if (about != about_) next_ = 0;
    about_ = about;
    mark = {about, next_ + gap, value, isAbove};
    next_ = mark.position + 1;
    return true;
  }

  KeySource& source_;
  Mark::About about_ = Mark::About::kAccent;
  unsigned next_ = 0;
};

// The orders of a text. At first only their primary halves are known.
class Orders {
 public:
  Orders(unsigned short* orders, unsigned count, unsigned short cmpOp)
      : orders_(orders), count_(count), cmpOp_(cmpOp) {}

  // False for a mark that this text cannot have. It is on one of its orders.
  bool Apply(const Mark& mark) {
    if (mark.about != Mark::About::kAccent) MakePlain();
    if (mark.about == Mark::About::kEnd) return mark.value == 1 || count_ != 0;
    unsigned short& order = orders_[mark.position];
    switch (mark.about) {
      case Mark::About::kAccent:
        order = static_cast<unsigned short>(order | mark.value << 7);
        return IsLetter(order) && Counts(kvCompareIgnoreAccents);
      case Mark::About::kCase:
        return Counts(kvCompareIgnoreCase) && SetCase(order, mark);
      default:
        return Counts(kvCompareIgnoreVariants) && SetVariant(order);
    }
  }

 private:
  bool Counts(unsigned short ignoring) const { return (cmpOp_ & ignoring) == 0; }
  static bool IsHalf(unsigned order) { return (order & 0xFFFC) == kFirstOtherOrder; }

  // Gives every order the plain case, once the accents are known.
  void MakePlain() {
    if (isPlain_) return;
    isPlain_ = true;
    unsigned before = 0;
    for (unsigned i = 0; i < count_; ++i) {
      const unsigned weight = OrderWeight(orders_[i]);
      const unsigned plain = PlainCase(weight, before);
      before = weight >> 16;
      orders_[i] = WithCase(orders_[i], plain);
    }
  }

  static unsigned short WithCase(unsigned order, unsigned found) {
    if (IsHalf(order)) return static_cast<unsigned short>((order & 0xFFFE) | found);
    if (!IsLetter(order)) return static_cast<unsigned short>(order);
    return static_cast<unsigned short>((order & ~kCaseBits) | found << 12);
  }

  static bool SetCase(unsigned short& order, const Mark& mark) {
    const unsigned plain = IsHalf(order) ? order & 1u : CaseOf(order);
    if (mark.isAbove ? mark.value <= plain : mark.value >= plain) return false;
    if (IsHalf(order) ? mark.value > 1 : !IsLetter(order)) return false;
    order = WithCase(order, mark.value);
    return true;
  }

  static bool SetVariant(unsigned short& order) {
    const bool isDigit = order >= kFirstDigitOrder && order < kFirstLetterOrder;
    const bool isLetter = IsLetter(order) && (order & kExtensionBits) == 0;
    order = static_cast<unsigned short>(order | (isDigit ? 1u : kExtensionBits));
    return isDigit || isLetter;
  }

  unsigned short* orders_;
  unsigned count_;
  unsigned short cmpOp_;
  bool isPlain_ = false;
};

// Passes level 1 and counts its orders.
bool PassLevelOne(KeySource& source, unsigned short cmpOp, unsigned& count) {
  LevelOneReader reader(source, cmpOp);
  unsigned primary;
  for (count = 0; reader.Next(primary); ++count) {
    if (primary == 0) return true;
  }
  return false;
}

// Passes the marks on `count` orders.
bool PassMarks(KeySource& source, unsigned count) {
  MarkReader reader(source);
  Mark mark;
  while (reader.Next(mark)) {
    if (mark.about == Mark::About::kEnd) return true;
    if (mark.position >= count) return false;
  }
  return false;
}

}  // namespace

void ReadTextKeyPieces(KeySource& source, unsigned short cmpOp, void* taker, TakePiece take) {
  std::size_t offset = source.Taken();
  const auto give = [&](KvSortKeyPart part, unsigned position, unsigned value) {
    take(taker, {part, position, value, offset, source.Taken() - offset});
    offset = source.Taken();
  };
  LevelOneReader reader(source, cmpOp);
  unsigned count = 0;
  for (unsigned primary; reader.Next(primary) && primary != 0; ++count) {
    give(kvKeyOrder, count, IsLetter(primary) ? primary | 0x1000 : primary);
  }
  give(kvKeyBase, count, 0);
  static constexpr KvSortKeyPart kParts[] = {kvKeyAccent, kvKeyCase, kvKeyVariant, kvKeyEnd};
  MarkReader marks(source);
  Mark mark{};
  do {
    marks.Next(mark);
    give(kParts[static_cast<int>(mark.about)], mark.position, mark.value);
  } while (mark.about != Mark::About::kEnd);
}

int ReadTextKey(KeySource& source, unsigned short cmpOp, KvString* value) {
  KeySource levelOne = source;
  unsigned count = 0;
  if (!PassLevelOne(source, cmpOp, count)) return kvBadArgument;
  KeySource marks = source;
  if (!PassMarks(source, count)) return kvBadArgument;
  if (value == nullptr) return kvOk;
  if (count > MaximumLength(kvCodeSetOrders)) return kvOverflow;

  // With room for one more, as no orders are no shortage of memory.
  const OwnedBlock<unsigned short> orders(
      reinterpret_cast<unsigned short*>(AllocateBlock((count + 1) * unsigned{sizeof(short)})));
  if (orders == nullptr) return kvNotSupported;
  LevelOneReader reader(levelOne, cmpOp);
  for (unsigned i = 0; i < count; ++i) {
    unsigned primary = 0;
    reader.Next(primary);
    orders.get()[i] = static_cast<unsigned short>(primary);
  }
  Orders text(orders.get(), count, cmpOp);
  MarkReader markReader(marks);
  Mark mark{};
  do {
    markReader.Next(mark);
    if (!text.Apply(mark)) return kvBadArgument;
  } while (mark.about != Mark::About::kEnd);
  const auto language = static_cast<unsigned char>(mark.value);
  const bool done =
      StringAccess::Assign(*value, kvCodeSetOrders, language, count != 0 ? orders.get() : nullptr,
                           kvCodeSetOrders, count);
  return done ? kvOk : kvNotSupported;
}

}  // namespace kv
