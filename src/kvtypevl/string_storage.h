// string_storage.h - stored strings: the storage slots of both string rows beyond the exported
// ones, and StoredStringRun, which reads stored strings in place for comparing and hashing.
// kvcore/inc/kvstorage.h draws the layouts.
#pragma once

#include "kvstring.h"
#include "kvtypevl/format.h"
#include "zbs.h"

namespace kv {

// Writes one block for a plain text, with the default 8-bit code set and the default language; cut
// where a string would be. Result: the bytes written.
unsigned StoreByteText(unsigned char* stored, const char* text, Format format);

// Bytes that StringStore writes for one string.
unsigned StoredStringSize(const KvString& string);

unsigned StringNullSize(unsigned count);
unsigned StringMemFileSize(MemFile* file, unsigned char format, unsigned count);
unsigned StringTranslate(void* destination, unsigned char destinationFormat,
                         unsigned destinationLength, const void* source, unsigned char sourceFormat,
                         unsigned sourceLength, unsigned count);

// The old catalogue's: one block for the whole run. A total length beyond 16 bits is kept modulo
// 65,536, as it always was; such a run cannot be loaded again.
unsigned OldStringStore(void* destination, const void* source, unsigned char format,
                        unsigned count);
unsigned OldStringSize(const void* stored, unsigned char extra, unsigned char format,
                       unsigned count);
unsigned OldStringMemFileSize(MemFile* file, unsigned char format, unsigned count);
unsigned OldStringTranslate(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, const void* source,
                            unsigned char sourceFormat, unsigned sourceLength, unsigned count);

// Stored bytes of a trusted run in either form.
unsigned StoredRunSize(const void* stored, Format format, unsigned count);

// One string as it lies in a stored run.
struct StoredString {
  const unsigned char* text;  // not terminated
  unsigned length;            // units
  unsigned char codeSet;
  unsigned char language;
  unsigned char byteOrder;  // of 16-bit units: 2 is reversed, 1 the memory's own
  bool isCut;               // the buffer ends before the block does
};

// Walks the strings of a stored run in either form. No byte outside the buffer is read, whatever
// the stored lengths say. Index keys are cut at a fixed size, so a last block that the buffer cuts
// short is a text of what is there; from 256 bytes on it cannot be a key, and is an error.
class StoredStringRun {
 public:
  // `length` is in bytes; 0 means that the run is whole and trusted.
  StoredStringRun(const void* stored, unsigned length, Format format);

  // Takes the next string: 0, kvBufferShort when it starts at or beyond the end of the buffer or
  // its header does, kvNotSupported when its length cannot be right.
  int Next(StoredString& string);

 private:
  bool IsOldForm() const;
  bool Has(unsigned bytes) const { return !bounded_ || bytes <= left_; }
  void Advance(unsigned bytes);
  int NextOld(StoredString& string);

  const unsigned char* at_;
  unsigned left_;  // bytes from at_ to the end of the buffer when it is bounded
  bool bounded_;
  unsigned char byteOrder_;
  bool old_;
};

}  // namespace kv
