// The stored form of strings, drawn in kvstorage.h: writing, reading and measuring blocks.

#include "kvtypevl/string_storage.h"

#include <algorithm>
#include <cstring>

#include "kvstorage.h"
#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtypevl/storage.h"

namespace kv {
namespace {

constexpr unsigned kLengthField = 2;
constexpr unsigned kHeader = 4;  // length, code set, language
constexpr unsigned char kMarker[2] = {0x00, 0xFF};
// A cut block with this much of its body left is not an index key but a damaged length.
constexpr unsigned kLongestKeyBody = 253;

unsigned ReadLength(const unsigned char* stored, Format format) {
  unsigned short length;
  ShortStoreOne(&length, stored, format.byte);
  return length;
}

void WriteLength(unsigned char* stored, unsigned length, Format format) {
  const auto field = static_cast<unsigned short>(length);
  ShortStoreOne(stored, &field, format.byte);
}

// Units of text in a whole block of length `body`: without header, terminator and marker.
constexpr unsigned TextUnits(unsigned body, bool wide) {
  if (body < kHeader) return 0;
  return wide ? (body - kHeader) / 2 : body - kHeader;
}

// Bytes of the data area of a string with a buffer of `size` bytes.
constexpr unsigned DataBytes(unsigned size, bool wide) {
  if (size == 0) return 2;
  return wide ? size : size + 1;
}

// Everything of a block but its text; returns where that goes. `data` is the size of the data area,
// whose last two bytes become the marker.
unsigned char* StoreFrame(unsigned char* stored, unsigned data, unsigned char codeSet,
                          unsigned char language, Format format) {
  WriteLength(stored, data + 2, format);
  stored[2] = codeSet;
  stored[3] = language;
  unsigned char* text = stored + kHeader;
  std::memcpy(text + data - 2, kMarker, 2);
  return text;
}

unsigned StoreBlock(unsigned char* stored, const KvString& string, Format format) {
  const bool wide = KvIsWideCodeSet(string.GetCodeSet());
  const unsigned size = string.GetBufferSize();
  const unsigned data = DataBytes(size, wide);
  unsigned char* text = StoreFrame(stored, data, string.GetCodeSet(), string.GetLanguage(), format);
  // An 8-bit terminator is the marker's own zero, or precedes it where the buffer is longer than
  // the text. A 16-bit one gives way to the marker.
  if (!wide) {
    if (size != 0) std::memcpy(text, string.StrGet(), size);
  } else if (size > 2) {
    ShortStore(text, string.StrGet(), format.byte, size / 2 - 1);
  }
  return kHeader + data;
}

// False when memory was short.
bool LoadBlock(KvString& string, const unsigned char* stored, unsigned body, Format format) {
  const unsigned char codeSet = stored[2];
  const unsigned units = TextUnits(body, KvIsWideCodeSet(codeSet));
  return StringAccess::Assign(string, codeSet, stored[3], units != 0 ? stored + kHeader : nullptr,
                              codeSet, units, format.IsReversed() ? 2 : 1);
}

unsigned LoadOldBlock(KvString* strings, const unsigned char* stored, unsigned body,
                      unsigned count) {
  const unsigned char* at = stored + kLengthField;
  const unsigned char* end = at + body;
  for (unsigned index = 0; index < count; ++index) {
    // The block's last byte is zero, so that each text in it ends.
    strings[index] = at < end ? reinterpret_cast<const char*>(at) : "";
    if (at < end) at += std::strlen(reinterpret_cast<const char*>(at)) + 1;
  }
  return body + kLengthField;
}

// The length field at the file's cursor. False when the file ends in it.
bool PeekLength(MemFile& file, Format format, unsigned& length) {
  unsigned char field[kLengthField];
  if (file.Read(field, kLengthField) != kLengthField) return false;
  length = ReadLength(field, format);
  return true;
}

// The two string rows translate alike but for the store function. Values in memory are assigned:
// their bytes are not theirs to copy.
unsigned Translate(KvStoreFunc store, void* destination, unsigned char destinationFormat,
                   unsigned destinationLength, const void* source, unsigned char sourceFormat,
                   unsigned sourceLength, unsigned count) {
  const bool fromMemory = Format{sourceFormat}.IsMemory();
  if (Format{destinationFormat}.IsMemory()) {
    if (!fromMemory) return StringLoad(destination, source, sourceFormat, count);
    const auto* from = static_cast<const KvString*>(source);
    std::copy_n(from, count, static_cast<KvString*>(destination));
    return static_cast<unsigned>(count * sizeof(KvString));
  }
  if (fromMemory) {
    return store(destination, source, static_cast<unsigned char>(destinationFormat & 0x0F), count);
  }
  return CopyStored(destination, destinationLength, source, sourceLength, count);
}

}  // namespace

unsigned StoreByteText(unsigned char* stored, const char* text, Format format) {
  const unsigned length = TextLength(text, false, MaximumLength(kvCodeSetLatin1));
  const unsigned data = length + 2;
  unsigned char* at = StoreFrame(stored, data, KvLanguageContext::GetDefault8CodeSet(),
                                 KvLanguageContext::GetDefaultLanguage(), format);
  std::memcpy(at, text, length);
  return kHeader + data;
}

unsigned StoredStringSize(const KvString& string) {
  return kHeader + DataBytes(string.GetBufferSize(), KvIsWideCodeSet(string.GetCodeSet()));
}

unsigned StringNullSize(unsigned count) {
  return count * (kHeader + 2);
}

unsigned StoredRunSize(const void* stored, Format format, unsigned count) {
  const auto* block = static_cast<const unsigned char*>(stored);
  const unsigned body = ReadLength(block, format);
  const bool isOld = body != 0 && block[body + 1] == 0;
  return isOld ? OldStringSize(stored, 0, format.byte, count)
               : StringSizeGet(stored, 0, format.byte, count);
}

unsigned StringMemFileSize(MemFile* file, unsigned char format, unsigned count) {
  const unsigned begin = file->Tell();
  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    unsigned body = 0;
    // A block that reaches past the end of the file leaves no length field behind it.
    if (file->Seek(begin + total) != kvOk || !PeekLength(*file, Format{format}, body)) {
      total = 0;
      break;
    }
    total += body + kLengthField;
  }
  file->Seek(begin);
  return total;
}

unsigned StringTranslate(void* destination, unsigned char destinationFormat,
                         unsigned destinationLength, const void* source, unsigned char sourceFormat,
                         unsigned sourceLength, unsigned count) {
  return Translate(StringStore, destination, destinationFormat, destinationLength, source,
                   sourceFormat, sourceLength, count);
}

unsigned OldStringStore(void* destination, const void* source, unsigned char format,
                        unsigned count) {
  if (count == 0) return 0;
  const auto* strings = static_cast<const KvString*>(source);
  auto* stored = static_cast<unsigned char*>(destination);
  unsigned char* at = stored + kLengthField;
  for (unsigned index = 0; index < count; ++index) {
    const KvString& string = strings[index];
    const unsigned length = string.Len();
    if (KvIsWideCodeSet(string.GetCodeSet())) {
      ConvertUnits(at, KvLanguageContext::GetDefault8CodeSet(), string.StrGet(),
                   string.GetCodeSet(), length);
    } else {
      std::memcpy(at, string.StrGet(), length);
    }
    at[length] = 0;
    at += length + 1;
  }
  const auto total = static_cast<unsigned short>(static_cast<unsigned>(at - stored) - kLengthField);
  WriteLength(stored, total, Format{format});
  return total + kLengthField;
}

unsigned OldStringSize(const void* stored, unsigned char /*extra*/, unsigned char format,
                       unsigned count) {
  if (count == 0) return 0;
  return ReadLength(static_cast<const unsigned char*>(stored), Format{format}) + kLengthField;
}

unsigned OldStringMemFileSize(MemFile* file, unsigned char format, unsigned count) {
  return count == 0 ? 0 : StringMemFileSize(file, format, 1);
}

unsigned OldStringTranslate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count) {
  return Translate(OldStringStore, destination, destinationFormat, destinationLength, source,
                   sourceFormat, sourceLength, count);
}

// ---------------------------------------------------------------------------------------------

StoredStringRun::StoredStringRun(const void* stored, unsigned length, Format format)
    : at_(static_cast<const unsigned char*>(stored)),
      left_(length),
      bounded_(length != 0),
      byteOrder_(format.IsReversed() ? 2 : 1),
      old_(IsOldForm()) {
  if (!old_) return;
  // The texts of an old block end with it, whatever follows.
  const unsigned body = ReadLength(at_, Format{byteOrder_});
  at_ += kLengthField;
  left_ = body;
  bounded_ = true;
}

bool StoredStringRun::IsOldForm() const {
  if (!Has(kLengthField)) return false;
  const unsigned body = ReadLength(at_, Format{byteOrder_});
  return body != 0 && Has(body + kLengthField) && at_[body + 1] == 0;
}

void StoredStringRun::Advance(unsigned bytes) {
  at_ += bytes;
  if (bounded_) left_ -= bytes;
}

int StoredStringRun::NextOld(StoredString& string) {
  if (left_ == 0) return kvBufferShort;
  string = {.text = at_,
            .length = TextLength(at_, false, left_),
            .codeSet = KvLanguageContext::GetDefault8CodeSet(),
            .language = KvLanguageContext::GetDefaultLanguage(),
            .byteOrder = 1,
            .isCut = false};
  Advance(string.length + 1);
  return kvOk;
}

int StoredStringRun::Next(StoredString& string) {
  if (old_) return NextOld(string);
  if (!Has(kLengthField)) return kvBufferShort;
  const unsigned body = ReadLength(at_, Format{byteOrder_});
  string = {.text = at_,
            .length = 0,
            .codeSet = 0,
            .language = 0,
            .byteOrder = byteOrder_,
            .isCut = false};
  if (body < 2) {
    // No code set and no language: nothing writes this, and it reads as an empty text.
    if (!Has(kLengthField + body)) return kvBufferShort;
    Advance(kLengthField + body);
    return kvOk;
  }
  if (!Has(kHeader)) return kvBufferShort;
  const bool cut = !Has(kLengthField + body);
  if (cut && left_ - kLengthField > kLongestKeyBody) return kvNotSupported;

  string.isCut = cut;
  string.codeSet = at_[2];
  string.language = at_[3];
  // Texts of collation orders carry a flag in the language's top bit.
  if (string.codeSet == 254 && string.language >= 128) string.language &= 0x7F;
  string.text = at_ + kHeader;
  const bool wide = KvIsWideCodeSet(string.codeSet);
  unsigned units = TextUnits(body, wide);
  if (cut) units = std::min(units, (left_ - kHeader) / UnitWidth(string.codeSet));
  string.length = TextLength(string.text, wide, units);
  Advance(cut ? left_ : kLengthField + body);
  return kvOk;
}

}  // namespace kv

// ---------------------------------------------------------------------------------------------

unsigned StringStore(void* destination, const void* source, unsigned char format, unsigned count) {
  auto* stored = static_cast<unsigned char*>(destination);
  const auto* strings = static_cast<const KvString*>(source);
  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    total += kv::StoreBlock(stored + total, strings[index], kv::Format{format});
  }
  return total;
}

unsigned StringLoad(void* destination, const void* stored, unsigned char format, unsigned count) {
  if (count == 0) return 0;
  const kv::Format byteOrder{format};
  auto* strings = static_cast<KvString*>(destination);
  const auto* begin = static_cast<const unsigned char*>(stored);
  const unsigned first = kv::ReadLength(begin, byteOrder);
  if (first == 0) return 0;
  if (begin[first + 1] == 0) return kv::LoadOldBlock(strings, begin, first, count);

  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    const unsigned body = kv::ReadLength(begin + total, byteOrder);
    if (!kv::LoadBlock(strings[index], begin + total, body, byteOrder)) return 0;
    total += body + kv::kLengthField;
  }
  return total;
}

unsigned StringSizeGet(const void* stored, unsigned char /*extra*/, unsigned char format,
                       unsigned count) {
  const auto* begin = static_cast<const unsigned char*>(stored);
  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    total += kv::ReadLength(begin + total, kv::Format{format}) + kv::kLengthField;
  }
  return total;
}
