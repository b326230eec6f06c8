#include "text.h"

#include <algorithm>

#include "failure.h"
#include "names.h"

namespace {

// Units beyond this many do not fit a string of that code set.
std::size_t LongestText(unsigned char codeSet) {
  return KvIsWideCodeSet(codeSet) ? KvString::kMaximumBytes / 2 - 1 : KvString::kMaximumBytes - 1;
}

bool HoldsAll(const KvCodeSet& codeSet, const std::vector<unsigned short>& units) {
  for (const unsigned short unit : units) {
    if (codeSet.ToUnicode(codeSet.FromUnicode(unit)) != unit) return false;
  }
  return true;
}

// The first character that the code set lacks, for the message.
std::string FirstLacking(const KvCodeSet& codeSet, const std::vector<unsigned short>& units) {
  std::string lacking;
  for (const unsigned short unit : units) {
    if (codeSet.ToUnicode(codeSet.FromUnicode(unit)) == unit) continue;
    AppendUtf8(lacking, unit);
    break;
  }
  return lacking;
}

// The text in its code set, which holds it all.
KvString MakeString(const std::vector<unsigned short>& units, const StringTraits& traits) {
  const auto count = static_cast<unsigned short>(units.size());
  if (!KvIsWideCodeSet(*traits.codeSet)) {
    const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(*traits.codeSet);
    std::string bytes;
    bytes.reserve(count);
    for (const unsigned short unit : units) bytes += static_cast<char>(codeSet.FromUnicode(unit));
    return StringFromBytes(bytes, traits);
  }
  KvString text(*traits.codeSet, KvLanguageContext::GetDefaultLanguage());
  text << KvString(units.data(), count);
  if (traits.language) text.SetLanguage(*traits.language);
  return text;
}

void RequireRoom(std::size_t units, unsigned char codeSet) {
  if (units <= LongestText(codeSet)) return;
  FailValue(std::to_string(units) + " characters, more than a string holds (" +
            std::to_string(LongestText(codeSet)) + ")");
}

// The bytes of a text that is all Latin-1 and as short as most are: what goes beyond either is left
// to the walk below, and so is whatever is wrong. Nothing is allocated and no character asked for.
class ShortLatin1 {
 public:
  explicit ShortLatin1(std::string_view utf8) {
    constexpr unsigned char kLeadBeyond = 0xC4;
    if (utf8.size() > kMost) return;
    unsigned char highest = 0;
    for (const char c : utf8) highest = std::max(highest, static_cast<unsigned char>(c));
    if (highest >= kLeadBeyond) return;
    if (highest < 0x80) {
      isAll_ = true;
      text_ = utf8;
      return;
    }
    unsigned short units[kMost];
    const auto size = static_cast<int>(utf8.size());
    const int count = KvMultiByteStr2WCharStr(units, size, utf8.data(), size);
    if (count < 0) return;
    for (int i = 0; i < count; ++i) bytes_[i] = static_cast<char>(units[i]);
    isAll_ = true;
    text_ = {bytes_, static_cast<std::size_t>(count)};
  }
  ShortLatin1(const ShortLatin1&) = delete;
  ShortLatin1& operator=(const ShortLatin1&) = delete;

  bool IsAll() const { return isAll_; }
  // The given text itself where it is ASCII.
  std::string_view Bytes() const { return text_; }

 private:
  static constexpr std::size_t kMost = 64;

  char bytes_[kMost];
  bool isAll_ = false;
  std::string_view text_;
};

constexpr unsigned char kFourByteLead = 0xF0;

bool MayBeTooWide(std::string_view utf8) {
  for (const char c : utf8) {
    if (static_cast<unsigned char>(c) >= kFourByteLead) return true;
  }
  return false;
}

}  // namespace

DecodedText DecodeUtf8(std::string_view utf8) {
  DecodedText decoded;
  decoded.units.resize(utf8.size());
  if (!MayBeTooWide(utf8)) {
    const int count = KvMultiByteStr2WCharStr(decoded.units.data(), static_cast<int>(utf8.size()),
                                              utf8.data(), static_cast<int>(utf8.size()));
    if (count >= 0) {
      decoded.units.resize(static_cast<std::size_t>(count));
      decoded.used = utf8.size();
      return decoded;
    }
  }
  // One by one, to learn where the fault is or to see the characters beyond 16 bits, of which the
  // library keeps the low ones.
  std::size_t count = 0;
  while (decoded.used < utf8.size()) {
    const int bytes = KvMultiByte2WChar(&decoded.units[count], utf8.data() + decoded.used,
                                        static_cast<unsigned>(utf8.size() - decoded.used));
    if (bytes <= 0) break;
    if (bytes > 3) {
      decoded.units[count] = '?';
      ++decoded.tooWide;
    }
    ++count;
    decoded.used += static_cast<std::size_t>(bytes);
  }
  decoded.units.resize(count);
  return decoded;
}

void AppendUtf8(std::string& utf8, unsigned short unit) {
  if (unit < 0x80) {
    utf8 += static_cast<char>(unit);
    return;
  }
  char bytes[8];
  utf8.append(bytes, static_cast<std::size_t>(KvWChar2MultiByte(bytes, unit)));
}

KvString StringFromUtf8(std::string_view utf8, const StringTraits& traits) {
  if (traits.codeSet.value_or(kvCodeSetLatin1) == kvCodeSetLatin1) {
    if (const ShortLatin1 text(utf8); text.IsAll()) {
      return StringFromBytes(text.Bytes(), {kvCodeSetLatin1, traits.language});
    }
  }
  const DecodedText decoded = DecodeUtf8(utf8);
  if (decoded.used < utf8.size()) {
    FailValue("invalid UTF-8 at offset " + std::to_string(decoded.used) + " of " + Quoted(utf8));
  }
  if (decoded.tooWide > 0) {
    FailValue(Quoted(utf8) + " has a character beyond 16 bits, which no code set holds");
  }
  for (std::size_t i = 0; i < decoded.units.size(); ++i) {
    if (decoded.units[i] == 0) {
      FailValue("a zero character, which would end the text, at offset " + std::to_string(i));
    }
  }
  StringTraits settled = traits;
  if (!traits.codeSet) {
    const KvCodeSet& latin1 = *KvLanguageContext::QueryCodeSet(kvCodeSetLatin1);
    settled.codeSet = HoldsAll(latin1, decoded.units) ? kvCodeSetLatin1 : kvCodeSetUnicode;
  }
  const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(*settled.codeSet);
  if (!HoldsAll(codeSet, decoded.units)) {
    FailValue(CodeSetName(*settled.codeSet) + " has no " +
              Quoted(FirstLacking(codeSet, decoded.units)) + ", in " + Quoted(utf8));
  }
  RequireRoom(decoded.units.size(), *settled.codeSet);
  return MakeString(decoded.units, settled);
}

KvString StringFromBytes(std::string_view bytes, const StringTraits& traits) {
  RequireRoom(bytes.size(), *traits.codeSet);
  if (bytes.find('\0') != std::string_view::npos) {
    FailValue("a zero character, which would end the text, at offset " +
              std::to_string(bytes.find('\0')));
  }
  KvString text(bytes.data(), static_cast<unsigned short>(bytes.size()));
  text.SetCodeSetCode(*traits.codeSet);
  if (traits.language) text.SetLanguage(*traits.language);
  return text;
}

std::string Utf8FromString(const KvString& text) {
  const KvCodeSet& codeSet = *KvLanguageContext::QueryCodeSet(text.GetCodeSet());
  const char* const bytes = text.StrGet();
  const std::size_t length = text.Len();
  std::string utf8;
  utf8.reserve(length);
  for (std::size_t i = 0; i < length; ++i) {
    unsigned short unit = static_cast<unsigned char>(bytes[i]);
    if (KvIsWideCodeSet(text.GetCodeSet())) {
      unit = reinterpret_cast<const unsigned short*>(bytes)[i];
    }
    AppendUtf8(utf8, codeSet.ToUnicode(unit));
  }
  return utf8;
}
