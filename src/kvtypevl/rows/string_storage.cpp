// The stored form of strings, drawn in kvstorage.h: writing, reading and measuring blocks.

#include "kvtypevl/rows/string_storage.h"

#include <algorithm>
#include <cstring>

#include "kvbase/codec.h"
#include "kvstorage.h"
#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtypevl/rows/string_runs.h"

namespace kv {
namespace {

using Block = StringBlock;

unsigned ReadLength(const unsigned char* stored, Format format) {
  return StringBlock::ReadLength(stored, format.IsReversed());
}

void WriteLength(unsigned char* stored, unsigned length, Format format) {
  const auto field = static_cast<unsigned short>(length);
  CopyNumber<2>(stored, reinterpret_cast<const unsigned char*>(&field), format.IsReversed());
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
  unsigned char* text = stored + Block::kHeader;
  std::memcpy(text + data - 2, &Block::kMarker, 2);
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
    // A buffer that once held bytes may be odd; equal strings are still equal bytes.
    if (size % 2 != 0) text[size - 3] = 0;
  }
  return Block::kHeader + data;
}

// False when memory was short.
bool LoadBlock(KvString& string, const unsigned char* stored, unsigned body, Format format) {
  const unsigned char codeSet = stored[2];
  const unsigned units = Block::TextUnits(body, KvIsWideCodeSet(codeSet));
  return StringAccess::Assign(string, codeSet, stored[3],
                              units != 0 ? stored + Block::kHeader : nullptr, codeSet, units,
                              format.IsReversed() ? 2 : 1);
}

// 0 when memory was short.
unsigned LoadOldBlock(KvString* strings, const unsigned char* stored, unsigned body,
                      unsigned count) {
  const unsigned char codeSet = KvLanguageContext::GetDefault8CodeSet();
  const unsigned char language = KvLanguageContext::GetDefaultLanguage();
  const unsigned char* at = stored + Block::kLengthField;
  const unsigned char* end = at + body;
  for (unsigned index = 0; index < count; ++index) {
    // The block's last byte is zero, so that each text in it ends.
    const auto length =
        static_cast<unsigned>(at < end ? std::strlen(reinterpret_cast<const char*>(at)) : 0);
    const unsigned char* text = length != 0 ? at : nullptr;
    if (!StringAccess::Assign(strings[index], codeSet, language, text, codeSet, length)) return 0;
    if (at < end) at += length + 1;
  }
  return body + Block::kLengthField;
}

// The length field at the file's cursor. False when the file ends in it.
bool PeekLength(MemFile& file, Format format, unsigned& length) {
  unsigned char field[Block::kLengthField];
  if (file.Read(field, Block::kLengthField) != Block::kLengthField) return false;
  length = ReadLength(field, format);
  return true;
}

// Of a terminated text, whose own memory may be shorter than what a block holds.
unsigned StoredLength(const char* text) {
  return static_cast<unsigned>(
      std::min<std::size_t>(std::strlen(text), MaximumLength(kvCodeSetLatin1)));
}

}  // namespace

unsigned StoreByteText(unsigned char* stored, const char* text, Format format) {
  const unsigned length = StoredLength(text);
  const unsigned data = length + 2;
  unsigned char* at = StoreFrame(stored, data, KvLanguageContext::GetDefault8CodeSet(),
                                 KvLanguageContext::GetDefaultLanguage(), format);
  std::memcpy(at, text, length);
  return Block::kHeader + data;
}

unsigned StoredByteTextSize(const char* text) {
  return Block::kHeader + StoredLength(text) + 2;
}

unsigned StoredStringSize(const KvString& string) {
  return Block::kHeader + DataBytes(string.GetBufferSize(), KvIsWideCodeSet(string.GetCodeSet()));
}

unsigned StringNullSize(unsigned count) {
  return count * (Block::kHeader + 2);
}

unsigned StoredRunSize(const void* stored, Format format, unsigned count) {
  const auto* block = static_cast<const unsigned char*>(stored);
  const unsigned body = ReadLength(block, format);
  const bool isOld = body != 0 && block[body + 1] == 0;
  return isOld ? OldStringSize(stored, 0, format.byte, count)
               : StringSizeGet(stored, 0, format.byte, count);
}

unsigned StringMemFileSize(MemFile* file, unsigned char format, unsigned count) {
  if (count == 0) return 0;
  const unsigned begin = file->Tell();
  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    unsigned body = 0;
    // A block that reaches past the end of the file leaves no length field behind it.
    if (file->Seek(begin + total) != kvOk || !PeekLength(*file, Format{format}, body)) {
      total = 0;
      break;
    }
    total += body + Block::kLengthField;
  }
  file->Seek(begin);
  return total;
}

unsigned OldStringStore(void* destination, const void* source, unsigned char format,
                        unsigned count) {
  if (count == 0) return 0;
  const auto* strings = static_cast<const KvString*>(source);
  auto* stored = static_cast<unsigned char*>(destination);
  unsigned char* at = stored + Block::kLengthField;
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
  const auto total =
      static_cast<unsigned short>(static_cast<unsigned>(at - stored) - Block::kLengthField);
  WriteLength(stored, total, Format{format});
  return total + Block::kLengthField;
}

unsigned OldStringSize(const void* stored, unsigned char /*extra*/, unsigned char format,
                       unsigned count) {
  if (count == 0) return 0;
  return ReadLength(static_cast<const unsigned char*>(stored), Format{format}) +
         Block::kLengthField;
}

unsigned OldStringMemFileSize(MemFile* file, unsigned char format, unsigned count) {
  return StringMemFileSize(file, format, std::min(count, 1u));
}

// ---------------------------------------------------------------------------------------------

int StoredStringRun::NextOld(Text& text) {
  if (left_ == 0) return kvBufferShort;
  const unsigned length = TextLength(at_, false, left_);
  text = {KvLanguageContext::GetDefault8CodeSet(), KvLanguageContext::GetDefaultLanguage(), at_,
          length};
  Advance(length + 1);
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
    total += body + kv::StringBlock::kLengthField;
  }
  return total;
}

unsigned StringSizeGet(const void* stored, unsigned char /*extra*/, unsigned char format,
                       unsigned count) {
  const auto* begin = static_cast<const unsigned char*>(stored);
  unsigned total = 0;
  for (unsigned index = 0; index < count; ++index) {
    total += kv::ReadLength(begin + total, kv::Format{format}) + kv::StringBlock::kLengthField;
  }
  return total;
}
