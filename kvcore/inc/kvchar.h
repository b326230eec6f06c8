// kvchar.h - one character (KvChar), the walk over a text (KvStringIterator), and what case mapping
// and other transformations are made of (KvCharOperation, KvWCharList).
//
// A KvChar either *refers* to a place in a text, so that assigning to it writes there, or *holds*
// its value. Copies always hold:
//
//   KvString text("abc");
//   text[1] = 'X';                 // text is "aXc"
//   KvChar place = text[0];        // no copy: the very character that text[0] made
//   place = 'Y';                   // text is "YXc"
//   KvChar copy(place);
//   copy = 'Z';                    // text is unchanged
//
// Code sets above 224 have 16-bit units, all others bytes. In every constructor here 255 as code
// set or language means the process's default. As the code set of a string it is a 16-bit one like
// any other above 224.
#pragma once

#include "kvbase.h"

class KvString;
class KvStringIterator;
class KvCodeSet;

class KV_EXPORT KvChar {
 public:
  // Refers to the unit at `offset` bytes into the text of `text`, which must outlive it.
  KvChar(KvString& text, int offset);

  // Holds the source's value, wherever the source is. A language of 255 becomes the default.
  KvChar(const KvChar& source);

  // Hold `unit`. Code set 255: the default 8-bit code set, for the second the default 16-bit one.
  // In an 8-bit code set the second keeps the low byte.
  explicit KvChar(char unit, unsigned char codeSet = 255, unsigned char language = 255);
  explicit KvChar(unsigned short unit, unsigned char codeSet = 255, unsigned char language = 255);

  // Refers to the unit at `position`. Code set 255: the default 8-bit code set. `byteOrder` is that
  // of a 16-bit unit: low four bits of 2 are reversed, anything else is the memory's own.
  KvChar(const char* position, unsigned char codeSet, unsigned char language,
         unsigned char byteOrder = 255);

  // A held character takes over everything of `source`. A character that refers maps `source` into
  // its own code set and writes it in its own byte order.
  KvChar& operator=(const KvChar& source);
  // Writes one byte, of a 16-bit unit the least significant one in memory; or sets the held value.
  KvChar& operator=(char unit);
  // Writes one 16-bit unit in this character's byte order. A character of an 8-bit code set takes
  // the low byte: its neighbour is not its own to write.
  KvChar& operator=(unsigned short unit);

  // The unit itself, in memory order.
  unsigned short Value() const;
  unsigned char GetCodeSet() const { return codeSet_; }
  unsigned char GetLanguage() const { return language_; }

  // This character in code set `codeSet`, held. 0 and the own code set give a copy; a character
  // that `codeSet` lacks becomes "?".
  KvChar MapTo(unsigned char codeSet) const;

  // Compare as one-character texts, see KvStrCmp (kvcollate.h); a lone unit is in the default 8-bit
  // or 16-bit code set and the default language. Operation 65535 is the process's default.
  int Compare(const KvChar& other, unsigned short compareOperation = 65535) const;
  bool operator==(const KvChar& other) const { return Compare(other) == 0; }
  bool operator==(char unit) const { return *this == KvChar(unit); }
  bool operator==(unsigned short unit) const { return *this == KvChar(unit); }
  bool operator!=(const KvChar& other) const { return Compare(other) != 0; }
  bool operator!=(char unit) const { return *this != KvChar(unit); }
  bool operator!=(unsigned short unit) const { return *this != KvChar(unit); }
  bool operator<(const KvChar& other) const { return Compare(other) < 0; }
  bool operator<(char unit) const { return *this < KvChar(unit); }
  bool operator<(unsigned short unit) const { return *this < KvChar(unit); }
  bool operator<=(const KvChar& other) const { return Compare(other) <= 0; }
  bool operator<=(char unit) const { return *this <= KvChar(unit); }
  bool operator<=(unsigned short unit) const { return *this <= KvChar(unit); }
  bool operator>(const KvChar& other) const { return Compare(other) > 0; }
  bool operator>(char unit) const { return *this > KvChar(unit); }
  bool operator>(unsigned short unit) const { return *this > KvChar(unit); }
  bool operator>=(const KvChar& other) const { return Compare(other) >= 0; }
  bool operator>=(char unit) const { return *this >= KvChar(unit); }
  bool operator>=(unsigned short unit) const { return *this >= KvChar(unit); }

  // What sort of character this is, by its property order.
  bool IsSpace() const;   // below 80: blanks, controls, the terminator
  bool IsSymbol() const;  // 80 to 16127
  bool IsDigit() const;   // 16128 to 16383
  bool IsAlpha() const;   // 16384 to 32767
  bool IsHan() const;     // 32768 and above: ideographs
  // An unassigned code is its own property order, so what it counts as goes by its number: 0xFFFE
  // is beyond 32768, 0x0378 among the symbols.
  unsigned short PropertyOrder() const;

  // This character in the other case. What a mapping makes beyond the first character (sharp s
  // gives "SS") goes to the overflow list of `overflow`; with a null iterator it is lost.
  KvChar ToLower(KvStringIterator* overflow) const;
  KvChar ToUpper(KvStringIterator* overflow) const;

 private:
  friend class KvString;
  friend class KvStringIterator;
  // A character of a text, with the numbers that the text has: 255 is one like any other here.
  struct Place {
    unsigned char* position;
    unsigned short value;
    unsigned char codeSet;
    unsigned char language;
    unsigned char byteOrder;
  };
  explicit KvChar(const Place& place);
  static KvChar Detached();

  unsigned char* position_;  // null when the value is held
  unsigned short value_;     // 8-bit code sets use its first byte
  unsigned char codeSet_;
  unsigned char language_;
  unsigned char byteOrder_;
};

// ---------------------------------------------------------------------------------------------
// A list of 16-bit characters. Memory that cannot be had ends its growth: the list stays as it is.

class KV_EXPORT KvWCharList {
 public:
  KvWCharList() = default;
  KvWCharList(const KvWCharList& source);
  KvWCharList& operator=(const KvWCharList& source);
  ~KvWCharList();

  void Append(unsigned short unit);
  unsigned Count() const { return count_; }
  // 0 at and past the end.
  unsigned short operator[](unsigned index) const { return index < count_ ? units_[index] : 0; }

 private:
  unsigned short* units_ = nullptr;
  unsigned count_ = 0;
  unsigned capacity_ = 0;
};

// One transformation of a character, applied to a whole text by KvStringIterator::Transform and
// KvString::Transform. Apply returns the first character of the result and gives any further ones
// to `overflow` (never null there) with SetOverflow.
class KV_EXPORT KvCharOperation {
 public:
  virtual ~KvCharOperation();
  virtual KvChar Apply(const KvChar& source, KvStringIterator* overflow) = 0;
};

class KV_EXPORT KvCharToLower : public KvCharOperation {
 public:
  KvChar Apply(const KvChar& source, KvStringIterator* overflow) override;
};

class KV_EXPORT KvCharToUpper : public KvCharOperation {
 public:
  KvChar Apply(const KvChar& source, KvStringIterator* overflow) override;
};

// ---------------------------------------------------------------------------------------------
// A walk over a zero-terminated text, one unit at a time, forwards or backwards. The text must
// outlive the iterator; only the one made from a KvChar keeps a copy of its own.
//
//   for (KvStringIterator each(text); !each.IsEOS(); ++each) {
//     if ((*each).IsSpace()) *each = '_';
//   }
//
// The iterator does not know where its text begins: stepping back is the caller's to bound.

class KV_EXPORT KvStringIterator {
 public:
  explicit KvStringIterator(KvString& text);
  // Code set 255: the default 8-bit code set, for the second the default 16-bit one. `byteOrder` is
  // that of 16-bit units, as for a KvChar.
  KvStringIterator(const char* text, unsigned char codeSet, unsigned char language,
                   unsigned char byteOrder = 255);
  KvStringIterator(const unsigned short* text, unsigned char codeSet, unsigned char language,
                   unsigned char byteOrder = 255);
  // Over one character; it keeps a copy.
  explicit KvStringIterator(const KvChar& character);

  // Copies go on from the same place by themselves, pending overflow characters included.
  KvStringIterator(const KvStringIterator& source);
  KvStringIterator& operator=(const KvStringIterator& source);
  ~KvStringIterator();

  // The current character: the next pending overflow character, which it takes from the list, else
  // the one at the position, which it refers to. At a null position: 0, held.
  KvChar operator*();

  // One unit on. While overflow characters are pending nothing moves; when the list is used up it
  // is dropped and the position advances.
  KvStringIterator& operator++();
  KvStringIterator operator++(int);
  // One unit back, whatever is pending.
  KvStringIterator& operator--();
  KvStringIterator operator--(int);
  // Non-zero: as ++, zero: as --.
  void Step(unsigned short forward);

  // True when both are at the same place. For iterators over one character: when one is a copy of
  // the other and both are before or behind the character.
  bool operator==(const KvStringIterator& other) const;

  // True at the terminator or a null position, unless an overflow list is attached.
  bool IsEOS() const;

  // Attaches characters to deliver before the walk goes on, in place of any attached before. The
  // iterator takes over `list`, which comes from `new`. Code set 255: the iterator's own.
  void SetOverflow(KvWCharList* list, unsigned char codeSet = 255);

  // For an operation that runs short of memory: the walk of Transform ends here, and the text of
  // KvString::Transform stays as it is.
  void GiveUp() { gaveUp_ = true; }

  // The next collation order of the text, 0 at its end. A character that expands gives two, and
  // units that the language sorts as one letter (Czech ch) give theirs together. Moves over the
  // character, or all units of that letter, with its last order. `flags` is reserved: pass 0.
  unsigned short GetNextOrder(unsigned short flags);

  // Applies `operation` to every character from here on and writes the results and a terminator
  // through `out`, which must have room for both. Characters that the operation hands over as
  // overflow are written as they are. Afterwards `out` is at the terminator.
  void Transform(KvStringIterator& out, KvCharOperation& operation);

  // Lets go of the text: the iterator is at its end from here on.
  void Destroy();

  unsigned char GetCodeSet() const { return codeSet_; }
  unsigned char GetLanguage() const { return language_; }
  // How the code set sorts the language, see KvCodeSet::SortClass.
  unsigned char GetSortClass() const { return sortClass_; }

 private:
  friend class KvString;
  void Begin(const void* text, unsigned char codeSet, unsigned char language,
             unsigned char byteOrder);
  unsigned Width() const { return codeSet_ > 224 ? 2 : 1; }
  bool IsPending() const;
  void StepOverOrders();

  const KvCodeSet* codeSetObject_;  // never null
  unsigned char codeSet_;
  unsigned char language_;
  unsigned char sortClass_;
  unsigned char overflowCodeSet_;
  unsigned short overflowIndex_;
  unsigned char byteOrder_;
  unsigned short ownsText_;  // the position is in ownText_
  unsigned char* position_;
  KvWCharList* overflow_;
  unsigned char* limit_;          // where Transform has to stop writing; null when it need not
  unsigned char* orderPosition_;  // of the character that pendingOrder_ belongs to
  unsigned short pendingOrder_;   // second order of the last expanded character
  alignas(2) unsigned char ownText_[4];
  const void* origin_;  // of a text of its own: the iterator that made it, which may be gone
  bool gaveUp_ = false;
};
