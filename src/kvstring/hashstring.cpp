// hashstring.cpp - the three exported hashes of a text. Each is a walk that folds one key a step
// into the hash; they differ in what a key is.
#include "kvbase/fold.h"
#include "kvhash.h"
#include "kvstring.h"
#include "kvstring/collate.h"
#include "kvstring/string_edit.h"

namespace kv {

namespace {

unsigned HashBytes(const void* bytes, unsigned length) {
  if (bytes == nullptr) return 0;
  return FoldUnits<unsigned char>(bytes, length, [](unsigned byte) { return byte; });
}

unsigned HashOrders(const Text& text, short length) {
  OrderCursor cursor(text);
  const unsigned char sortClass =
      SortClassOf(text.language == 255 ? KvLanguageContext::GetDefaultLanguage() : text.language);
  unsigned hash = 0;
  if (length < 0) {
    while (const unsigned short order = cursor.Next())
      hash = Fold(hash, OrderKey(sortClass, order));
  } else {
    for (short step = 0; step < length; ++step) {
      hash = Fold(hash, OrderKey(sortClass, cursor.Next()));
    }
  }
  return hash;
}

// Folds the units of a string up to the first zero one, as Key sees them. Bytes are signed.
template <class Key>
unsigned HashUnits(const KvString& text, Key key) {
  const char* units = text.StrGet();
  if (text.GetCodeSet() == kvCodeSetUnicode) {
    return FoldUnits<unsigned short>(units, text.Len(), key);
  }
  // Every other code set goes by bytes, other 16-bit numbers too: stored hashes depend on it.
  return FoldUnits<signed char>(units, std::strlen(units), key);
}

}  // namespace

unsigned HashText(const Text& text) {
  if (text.IsNull()) return kvNullHash;
  if (text.codeSet != kvCodeSetBytes) return HashOrders(text, -1);
  const unsigned length = text.length == kToTerminator ? TextLength(text.units, false)
                                                       : TextLength(text.units, false, text.length);
  return HashBytes(text.units, length);
}

unsigned HashText(const Text& text, short length) {
  if (length < 0) return HashText(text);
  if (text.IsNull()) return kvNullHash;
  if (text.codeSet == kvCodeSetBytes) return HashBytes(text.units, static_cast<unsigned>(length));
  return HashOrders(text, length);
}

}  // namespace kv

unsigned HashString(unsigned char codeSet, unsigned char language, const char* data, short length,
                    unsigned char option) {
  if (kv::Text{codeSet, language, data}.IsNull()) return kvNullHash;
  if (length < -1) return 0;
  if (codeSet == 255) codeSet = KvLanguageContext::GetDefault8CodeSet();
  if (language == 255) language = KvLanguageContext::GetDefaultLanguage();
  const unsigned units = length < 0 ? kv::kToTerminator : static_cast<unsigned>(length);
  return kv::HashText({codeSet, language, data, units, option}, length);
}

unsigned HashKvString(const KvString& text) {
  return kv::HashUnits(text, [](auto unit) { return static_cast<unsigned>(unit); });
}

unsigned HashKvString7(const KvString& text) {
  return kv::HashUnits(text, [](auto unit) { return static_cast<unsigned>(unit) & 0x7F; });
}
