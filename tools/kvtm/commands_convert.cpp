// kvtm convert: a text from one code set to another, in pieces, so that memory does not grow with
// the file. A character that a piece cuts in two is carried over to the next piece.
#include <array>

#include "commands.h"
#include "failure.h"
#include "input.h"
#include "names.h"
#include "numbers.h"
#include "text.h"

namespace {

constexpr std::size_t kPieceBytes = 1 << 16;
constexpr unsigned long long kBytesWorthProgress = 1 << 20;
constexpr unsigned short kReplacement = '?';
constexpr std::size_t kLongestSequence = 6;

// UTF-8, or a code set of the library.
struct Encoding {
  bool utf8 = false;
  unsigned char codeSet = 0;
  bool IsWide() const { return !utf8 && KvIsWideCodeSet(codeSet); }
};

Encoding EncodingOf(const Arguments& arguments, const std::string& option) {
  if (!arguments.Has(option)) FailUsage("--" + option + " is missing");
  const std::string text = arguments.Value(option);
  if (EqualsIgnoringCase(text, "utf8") || EqualsIgnoringCase(text, "utf-8")) return {.utf8 = true};
  return {.codeSet = FindCodeSet(text)};
}

// Bytes to 16-bit Unicode characters.
class Decoder {
 public:
  explicit Decoder(Encoding from) : from_(from) {
    if (from_.utf8 || from_.IsWide()) return;
    const KvCodeSet& source = *KvLanguageContext::QueryCodeSet(from_.codeSet);
    for (unsigned short unit = 0; unit < 256; ++unit) toUnicode_[unit] = source.ToUnicode(unit);
  }

  // Decodes as much of the front of `bytes` as is whole and valid.
  DecodedText Decode(std::string_view bytes) const {
    if (from_.utf8) return DecodeUtf8(bytes);
    DecodedText decoded;
    decoded.units.reserve(bytes.size());
    if (!from_.IsWide()) {
      for (const char c : bytes) decoded.units.push_back(toUnicode_[static_cast<unsigned char>(c)]);
      decoded.used = bytes.size();
      return decoded;
    }
    for (; decoded.used + 1 < bytes.size(); decoded.used += 2) {
      const unsigned low = static_cast<unsigned char>(bytes[decoded.used]);
      const unsigned high = static_cast<unsigned char>(bytes[decoded.used + 1]);
      decoded.units.push_back(static_cast<unsigned short>(low | high << 8));
    }
    return decoded;
  }

 private:
  Encoding from_;
  std::array<unsigned short, 256> toUnicode_{};
};

// 16-bit Unicode characters to bytes. What the target lacks becomes "?" and is counted.
class Encoder {
 public:
  explicit Encoder(Encoding to) : to_(to) {
    if (to_.utf8) return;
    const KvCodeSet& target = *KvLanguageContext::QueryCodeSet(to_.codeSet);
    fromUnicode_.resize(0x10000);
    for (unsigned unit = 0; unit < fromUnicode_.size(); ++unit) {
      fromUnicode_[unit] = target.FromUnicode(static_cast<unsigned short>(unit));
    }
  }

  unsigned long long Lost() const { return lost_; }

  void Encode(const std::vector<unsigned short>& units, std::string& out) {
    for (const unsigned short unit : units) {
      if (to_.utf8) {
        AppendUtf8(out, unit);
        continue;
      }
      const unsigned short mapped = fromUnicode_[unit];
      lost_ += mapped == kReplacement && unit != kReplacement;
      out += static_cast<char>(mapped & 0xFF);
      if (to_.IsWide()) out += static_cast<char>(mapped >> 8);
    }
  }

 private:
  Encoding to_;
  std::vector<unsigned short> fromUnicode_;
  unsigned long long lost_ = 0;
};

void FailAt(unsigned long long offset, const Encoding& from) {
  FailValue((from.utf8 ? "invalid UTF-8" : "half a 16-bit character") + std::string(" at offset ") +
            std::to_string(offset));
}

}  // namespace

int RunConvert(const Arguments& arguments) {
  const Encoding from = EncodingOf(arguments, "from");
  const Encoding to = EncodingOf(arguments, "to");
  const Decoder decoder(from);
  Encoder encoder(to);
  InputFile file(arguments.Count() > 0 ? arguments[0] : "-");
  Progress progress("convert");
  progress.Begin("bytes", file.Size(), kBytesWorthProgress);

  std::string piece(kPieceBytes + kLongestSequence, '\0');
  std::size_t carried = 0;  // bytes at the front of the piece that wait for the rest of a character
  unsigned long long offset = 0;
  unsigned long long lost = 0;
  std::string out;
  for (bool more = true; more;) {
    const std::size_t read = file.Read(piece.data() + carried, kPieceBytes);
    more = read > 0;
    const std::string_view bytes(piece.data(), carried + read);
    const DecodedText decoded = decoder.Decode(bytes);
    out.clear();
    encoder.Encode(decoded.units, out);
    Print(out);
    offset += decoded.used;
    lost += decoded.tooWide;
    carried = bytes.size() - decoded.used;
    if (carried >= kLongestSequence || (carried > 0 && !more)) FailAt(offset, from);
    piece.replace(0, carried, piece, decoded.used, carried);
    progress.Advance(read);
  }
  lost += encoder.Lost();
  progress.Clear();
  if (lost > 0) {
    Note(std::to_string(lost) + " characters that " +
         (to.utf8 ? "a 16-bit text" : CodeSetName(to.codeSet)) + " lacks became ?");
  }
  return kExitGood;
}
