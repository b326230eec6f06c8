// UTF-8 to and from KvString. The kernels are in utf8.h; here are the buffers, the limits and the
// results that callers rely on.
#include "kvmbs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "kvstring.h"
#include "kvstring/string_edit.h"
#include "kvtext/utf8.h"
#include "zbs.h"

namespace kv {
namespace {

// Input that is consumed up to here is too long for a string.
constexpr std::size_t kDecodeCeiling = 32768;

// Code sets that are known to begin with ASCII: below this number a text without bytes of 0x80 and
// more is its own UTF-8.
constexpr unsigned char kFirstCodeSetNotMeasured = 6;
constexpr unsigned char kFirstCodeSetNotCopied = 27;

const unsigned char* Unsigned(const char* bytes) {
  return reinterpret_cast<const unsigned char*>(bytes);
}

// A string as 16-bit Unicode: itself, or a converted copy.
class UnicodeText {
 public:
  explicit UnicodeText(const KvString& text) : converted_(kvCodeSetUnicode, text.GetLanguage()) {
    const bool asItIs = text.GetCodeSet() == kvCodeSetUnicode;
    if (!asItIs) converted_ << text;
    const KvString& source = asItIs ? text : converted_;
    units_ = reinterpret_cast<const unsigned short*>(source.StrGet());
    // The units there may be: the kernels end at the terminator themselves.
    length_ = TextOf(source).length;
  }
  UnicodeText(const UnicodeText&) = delete;
  UnicodeText& operator=(const UnicodeText&) = delete;

  const unsigned short* Units() const { return units_; }
  unsigned Length() const { return length_; }

 private:
  KvString converted_;
  const unsigned short* units_;
  unsigned length_;
};

bool IsAsciiText(const KvString& text) {
  return utf8::IsAscii(text.StrGet(), text.Len());
}

void MakeEmptyUnicode(KvString& text) {
  StringAccess::Replace(text, nullptr, 0);
  StringAccess::SetCodeSet(text, kvCodeSetUnicode);
}

// Hands the first `length` units of a malloc'ed block with room for more to a string.
void TakeUnits(KvString& out, unsigned short* units, std::size_t length) {
  MakeEmptyUnicode(out);
  if (length == 0) return std::free(units);
  const unsigned size = LimitBufferSize(static_cast<unsigned>(2 * length + 2));
  units[size / 2 - 1] = 0;
  void* block = std::realloc(units, size);
  StringAccess::Replace(out, static_cast<unsigned char*>(block != nullptr ? block : units), size);
}

int DecodeString(const char* in, std::size_t available, KvString& out) {
  std::size_t stop = std::min(available, kDecodeCeiling);
  if (const void* zero = std::memchr(in, 0, stop)) {
    stop = static_cast<std::size_t>(static_cast<const char*>(zero) - in);
  }
  // A character takes a byte at least. What is too much is given back: asking for it costs nothing,
  // while counting the characters first costs a third of decoding them. The kernel wants a block's
  // room to write ahead.
  const std::size_t room = stop + 8;
  const std::size_t size = 2 * room + 2;
  auto* units = static_cast<unsigned short*>(std::malloc(size));
  if (units == nullptr) {
    KvCallMemoryHandler(static_cast<unsigned>(size));
    MakeEmptyUnicode(out);
    return -1;
  }
  const utf8::Progress progress =
      utf8::Decode<utf8::OnZero::kEnd>(Unsigned(in), stop, available, units, room);
  TakeUnits(out, units, progress.written);
  if (!progress.complete) return -1;
  return progress.read >= kDecodeCeiling ? -2 : static_cast<int>(progress.read);
}

// The bytes that KvString2KvMBS writes given enough room.
std::size_t MeasureEncoded(const KvString& s) {
  if (s.GetCodeSet() < kFirstCodeSetNotCopied && IsAsciiText(s)) return s.Len();
  const UnicodeText text(s);
  return utf8::EncodedLength(text.Units(), text.Length());
}

}  // namespace
}  // namespace kv

int KvMultiByte2WChar(unsigned short* out, const char* in, unsigned int n) {
  if (in == nullptr) return 0;
  if (n == 0) return -1;
  unsigned short unit = 0;
  const unsigned length = kv::utf8::DecodeUnit(kv::Unsigned(in), n, unit);
  if (length == 0) return -1;
  if (out != nullptr) *out = unit;
  return static_cast<int>(length);
}

int KvWChar2MultiByte(char* out, wchar_t c) {
  if (out == nullptr) return 0;
  return static_cast<int>(kv::utf8::EncodeUnit(static_cast<unsigned short>(c), out));
}

int KvMultiByteStr2WCharStr(unsigned short* out, int outCount, const char* in, int inBytes) {
  if (in == nullptr || inBytes <= 0) return 0;
  const auto available = static_cast<std::size_t>(inBytes);
  const std::size_t room = out == nullptr ? 0 : static_cast<std::size_t>(std::max(outCount, 0));
  const unsigned char* bytes = kv::Unsigned(in);
  auto [read, count, complete] =
      kv::utf8::Decode<kv::utf8::OnZero::kTake>(bytes, available, available, out, room);
  while (read < available) {
    unsigned short unseen;
    const unsigned length = kv::utf8::DecodeUnit(bytes + read, available - read, unseen);
    if (length == 0) return -1;
    read += length;
    ++count;
  }
  return static_cast<int>(count);
}

int KvMBS2KvString(const char* in, KvString& out, int inBytes) {
  if (in == nullptr || inBytes < 1) {
    kv::MakeEmptyUnicode(out);
    return 0;
  }
  return kv::DecodeString(in, static_cast<std::size_t>(inBytes), out);
}

int KvMultiByteString2KvString(const char* in, KvString& out, int inBytes) {
  return KvMBS2KvString(in, out, inBytes);
}

int KvMultiByteString2KvString(const KvString& in, KvString& out) {
  return KvMBS2KvString(in.StrGet(), out, in.Len());
}

int KvMBSLength(const KvString& s, unsigned short n) {
  if (n == 0) return 0;
  if (s.GetCodeSet() < kv::kFirstCodeSetNotMeasured && kv::IsAsciiText(s)) return s.Len();
  const kv::UnicodeText text(s);
  return static_cast<int>(
      kv::utf8::EncodedLength(text.Units(), std::min<unsigned>(n, text.Length())));
}

int KvString2KvMBS(const KvString& s, char* buf, int size) {
  const std::size_t room = buf == nullptr ? 0 : static_cast<std::size_t>(std::max(size, 0));
  if (s.GetCodeSet() < kv::kFirstCodeSetNotCopied && kv::IsAsciiText(s)) {
    const std::size_t length = s.Len();
    const std::size_t copied = std::min(length, room);
    if (copied != 0) std::memcpy(buf, s.StrGet(), copied);
    if (copied < room) std::memset(buf + copied, 0, room - copied);
    return static_cast<int>(copied < length ? -static_cast<long>(length)
                                            : static_cast<long>(length));
  }
  const kv::UnicodeText text(s);
  const kv::utf8::Progress progress = kv::utf8::Encode(text.Units(), text.Length(), buf, room);
  const int written = static_cast<int>(progress.written);
  if (!progress.complete) return -written;
  if (progress.written < room) buf[written] = 0;
  return written;
}

int KvString2MultiByteString(const KvString& s, char*& buf, int& size) {
  const std::size_t needed = kv::MeasureEncoded(s);
  if (buf == nullptr || size < 0 || static_cast<std::size_t>(size) < needed) {
    char* block = new (std::nothrow) char[needed + 1];
    if (block == nullptr) {
      KvCallMemoryHandler(static_cast<unsigned>(needed + 1));
      return -1;
    }
    buf = block;
    size = static_cast<int>(needed + 1);
  }
  return KvString2KvMBS(s, buf, size);
}
