// Sequences of edits on a KvString and on a plain model of its units: same text, same size, and no
// read or write outside, in both widths. The first byte chooses the code set, then every edit takes
// an opcode and its operands from the input.
#include <algorithm>
#include <cstring>
#include <string>

#include "kvstring.h"
#include "require.h"

namespace {

constexpr unsigned char kWindowsLatin = 2;

class Input {
 public:
  Input(const unsigned char* data, std::size_t size) : at_(data), left_(size) {}
  bool Empty() const { return left_ == 0; }
  unsigned Byte() {
    if (left_ == 0) return 0;
    --left_;
    return *at_++;
  }
  // Mostly small numbers, now and then one around the string limits.
  unsigned short Position() {
    const unsigned byte = Byte();
    if (byte < 0xF0) return static_cast<unsigned short>(byte);
    return static_cast<unsigned short>(byte << 8 | Byte());
  }
  // Units that the three code sets share, so that conversions are the identity, and that have no
  // case beyond ASCII.
  std::u16string Text() {
    std::u16string text;
    for (unsigned length = Byte() % 24; length != 0; --length) {
      const unsigned byte = Byte();
      text.push_back(static_cast<char16_t>(byte < 0xE0 ? 1 + byte % 0x7F : 0xA1 + byte % 9));
    }
    return text;
  }

 private:
  const unsigned char* at_;
  std::size_t left_;
};

std::u16string Units(const KvString& text) {
  std::u16string units(text.Len(), u'\0');
  const bool wide = KvIsWideCodeSet(text.GetCodeSet());
  for (std::size_t index = 0; index < units.size(); ++index) {
    if (wide) {
      std::memcpy(&units[index], text.StrGet() + 2 * index, 2);
    } else {
      units[index] = static_cast<unsigned char>(text.StrGet()[index]);
    }
  }
  return units;
}

KvString Operand(const std::u16string& units, bool wide) {
  if (wide) return KvString(reinterpret_cast<const unsigned short*>(units.c_str()));
  return KvString(std::string(units.begin(), units.end()).c_str());
}

class Model {
 public:
  explicit Model(bool wide) : limit_(wide ? 32765 : 65531) {}
  std::u16string text;

  void Splice(std::size_t at, std::size_t removed, const std::u16string& added) {
    text.replace(at, removed, added);
    Cut();
  }
  void Cut() { text.resize(std::min(text.size(), limit_)); }

 private:
  std::size_t limit_;
};

void Edit(KvString& text, Model& model, Input& input) {
  const unsigned opcode = input.Byte() % 11;
  const unsigned short position = input.Position();
  const std::u16string units = input.Text();
  // Every edit that takes a string is also tried with the string itself.
  const bool own = input.Byte() % 8 == 0;
  const KvString separate = Operand(units, input.Byte() % 2 == 0);
  const KvString& operand = own ? text : separate;
  const std::u16string added = own ? model.text : units;
  const std::size_t size = model.text.size();
  const bool inside = position < size;
  switch (opcode) {
    case 0:
      text << operand;
      model.Splice(size, 0, added);
      break;
    case 1:
      text.Insert(operand, position);
      if (position <= size) model.Splice(position, 0, added);
      break;
    case 2: {
      const unsigned short count = input.Position();
      text.Cut(position, count);
      if (inside) model.Splice(position, count, u"");
      break;
    }
    case 3:
      text.Replace(operand, position);
      if (inside) {
        const std::size_t count = std::min(added.size(), size - position);
        model.Splice(position, count, added.substr(0, count));
      }
      break;
    case 4:
      text.Expand(position, '+');
      if (position > size) model.Splice(size, 0, std::u16string(position - size, u'+'));
      break;
    case 5:
      text.Fill(position, static_cast<unsigned short>('='));
      model.Splice(0, size, std::u16string(position, u'='));
      break;
    case 6: {
      const std::size_t taken = std::min<std::size_t>(position, size);
      Require(Units(text.Copy(position, 7)) == model.text.substr(taken, 7));
      Require(Units(text.Left(position)) == model.text.substr(0, taken));
      Require(Units(text.Right(position)) == model.text.substr(size - taken));
      break;
    }
    case 7:
      text.ToUpper();
      for (char16_t& unit : model.text) {
        if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - 32);
      }
      break;
    case 8:
      text.ReplaceAll('A', 'b');
      std::replace(model.text.begin(), model.text.end(), u'A', u'b');
      break;
    case 9:
      if (inside) {
        text[position] = KvChar('Q');
        model.text[position] = u'Q';
      }
      break;
    case 10: {
      KvString copy(text);
      KvString moved;
      moved.Destruct(copy);
      text = moved;
      break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  Input input(data, size);
  const unsigned choice = input.Byte();
  const bool wide = choice % 2 != 0;
  const unsigned char codeSet = choice % 4 == 2 ? kWindowsLatin : kvCodeSetLatin1;
  KvString text(wide ? kvCodeSetUnicode : codeSet, kvLanguageEnglish);
  Model model(wide);
  for (unsigned edits = 0; !input.Empty() && edits < 40; ++edits) {
    Edit(text, model, input);
    Require(Units(text) == model.text);
    const std::size_t found = model.text.find(u'Q');
    Require(text.Find('Q') == (found == std::u16string::npos ? -1 : static_cast<short>(found)));
    const std::size_t exact = (model.text.size() + 1) * (wide ? 2 : 1);
    Require(text.GetBufferSize() == exact || text.GetBufferSize() == 0);
    Require(text.GetCodeSet() == (wide ? kvCodeSetUnicode : codeSet));
  }
  return 0;
}
