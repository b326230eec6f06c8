// Every kernel that has vectors, with each set that the processor has: its answers, and what it
// writes, must be those of the plain loops. Texts and runs lie in heap blocks that end with them
// and begin at any address; what is written to goes to such blocks as well, and all of the block
// counts.
//
// Input: the work, an option, where the first and the second text begin in their blocks, the bytes
// of each (two bytes, up to kLongest), the length of a pattern, the pattern, which both repeat,
// then changes of three bytes: a place, in whose upper two bits stands which of the texts has it
// (both, the first, the second) or that the second one is shorter, and the byte there.
#include <algorithm>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <vector>

#include "../tests/support/vector_sets.h"
#include "kv.h"
#include "support/types.h"

namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kHead = 7;
constexpr std::size_t kLongest = 1400;  // four blocks of the widest loop, and something
constexpr unsigned kAddresses = 64;

struct Input {
  unsigned work = 0;
  unsigned option = 0;
  std::size_t shifts[2] = {};
  Bytes texts[2];
};

Input Read(const unsigned char* data, std::size_t size) {
  Input input;
  input.work = data[0];
  input.option = data[1];
  const std::size_t length = std::size_t{data[4]} << 8 | data[5];
  const std::size_t period = std::min<std::size_t>(size - kHead, 1 + data[6] % 64);
  const unsigned char* const pattern = data + kHead;
  for (unsigned side = 0; side < 2; ++side) {
    input.shifts[side] = data[2 + side] % kAddresses;
    input.texts[side].resize(length % kLongest);
    for (std::size_t i = 0; i < input.texts[side].size(); ++i) {
      input.texts[side][i] = pattern[i % period];
    }
  }
  for (std::size_t at = kHead + period; size - at >= 3; at += 3) {
    const std::size_t place = std::size_t{data[at] & 0x3Fu} << 8 | data[at + 1];
    const unsigned which = data[at] >> 6;
    for (unsigned side = 0; side < 2 && which != 3; ++side) {
      Bytes& text = input.texts[side];
      if (!text.empty() && which != 2 - side) text[place % text.size()] = data[at + 2];
    }
    Bytes& second = input.texts[1];
    if (which == 3) second.resize(second.size() - std::min(second.size(), place % 64));
  }
  return input;
}

// A block that ends with its bytes.
class Block {
 public:
  Block(std::size_t shift, std::size_t size, unsigned char filler = 0xEE)
      : shift_(shift), size_(size), bytes_(new unsigned char[shift + size]) {
    std::fill_n(bytes_.get(), shift + size, filler);
  }
  Block(std::size_t shift, const Bytes& content) : Block(shift, content.size()) {
    std::copy(content.begin(), content.end(), Get());
  }
  unsigned char* Get() const { return bytes_.get() + shift_; }
  char* Chars() const { return reinterpret_cast<char*>(Get()); }
  unsigned short* Units() const { return reinterpret_cast<unsigned short*>(Get()); }
  std::size_t Size() const { return size_; }

 private:
  std::size_t shift_;
  std::size_t size_;
  std::unique_ptr<unsigned char[]> bytes_;
};

// What one run of the work told and wrote.
class Answers {
 public:
  void Add(long long number) { Add(&number, sizeof number); }
  void Add(const void* bytes, std::size_t size) {
    const auto* from = static_cast<const unsigned char*>(bytes);
    all_.insert(all_.end(), from, from + size);
  }
  void Add(const Block& block) { Add(block.Get(), block.Size()); }
  void Add(const KvString& text) {
    Add(text.Len());
    Add(text.StrGet(), text.GetBufferSize());
  }
  bool operator==(const Answers&) const = default;

 private:
  Bytes all_;
};

// So much of `whole` as the option says, all of it for the upper half of its values.
std::size_t Share(const Input& input, std::size_t whole) {
  return input.option >= 128 ? whole : whole * input.option / 128;
}

// Units begin at even addresses.
std::size_t Even(std::size_t number) {
  return number / 2 * 2;
}

KvString TextOf(const Input& input, unsigned side, bool wide, std::size_t most = kLongest) {
  const Bytes& bytes = input.texts[side];
  if (wide) {
    const Block block(Even(input.shifts[side]), bytes);
    return {block.Units(), static_cast<unsigned short>(std::min(bytes.size() / 2, most))};
  }
  const Block block(input.shifts[side], bytes);
  return {block.Chars(), static_cast<unsigned short>(std::min(bytes.size(), most))};
}

// --- The work ---

void Decode(const Input& input, Answers& answers) {
  const Block in(input.shifts[0], input.texts[0]);
  const int size = static_cast<int>(in.Size());
  // Zero characters are characters to the one and the end to the other.
  const Block out(Even(input.shifts[1]), 2 * Share(input, in.Size()));
  answers.Add(
      KvMultiByteStr2WCharStr(out.Units(), static_cast<int>(out.Size() / 2), in.Chars(), size));
  answers.Add(out);
  KvString text;
  answers.Add(KvMBS2KvString(in.Chars(), text, size));
  answers.Add(text);
}

void Encode(const Input& input, Answers& answers) {
  const KvString text = TextOf(input, 0, true);
  const int length = KvMBSLength(text, 65535);
  answers.Add(length);
  const Block out(input.shifts[1], Share(input, static_cast<std::size_t>(length)));
  answers.Add(KvString2KvMBS(text, out.Chars(), static_cast<int>(out.Size())));
  answers.Add(out);
}

// A search keeps what it worked out for the next one of the same pattern, with whatever vectors it
// did. Two others drive that out, and each other.
void ForgetSearch(const KvString& text) {
  KvString others(text);
  for (const char* pattern : {"5", "6"}) {
    others.Expand(100, '7');
    others.Find(KvString(pattern));
  }
}

// Length, copies, case and search.
void Edit(const Input& input, Answers& answers, bool wide) {
  KvString text = TextOf(input, 0, wide);
  text.SetLanguage(static_cast<unsigned char>(1 + input.option % 19));
  answers.Add(text);
  KvString pattern = TextOf(input, 1, wide, 1 + input.option % 4);
  pattern.SetLanguage(text.GetLanguage());
  ForgetSearch(text);
  for (const unsigned short operation : std::initializer_list<unsigned short>{0, 0x60, 0x260}) {
    answers.Add(text.Find(pattern, static_cast<unsigned short>(input.shifts[0]), operation));
  }
  KvString copy(text);
  answers.Add(copy);
  copy.ToUpper();
  answers.Add(copy);
  text.ToLower();
  answers.Add(text);
}

// Collation and comparison without case, of terminated texts.
void Compare(const Input& input, Answers& answers, bool wide) {
  const std::size_t width = wide ? 2 : 1;
  std::unique_ptr<Block> texts[2];
  for (unsigned side = 0; side < 2; ++side) {
    Bytes bytes = input.texts[side];
    bytes.resize(bytes.size() / width * width + width);
    std::fill(bytes.end() - static_cast<std::ptrdiff_t>(width), bytes.end(), 0);
    texts[side] = std::make_unique<Block>(input.shifts[side] / width * width, bytes);
  }
  const auto language = static_cast<unsigned char>(1 + input.option % 19);
  const unsigned char codeSet = wide ? 253 : 1;
  for (const unsigned short operation : std::initializer_list<unsigned short>{0, 0x60}) {
    answers.Add(support::Sign(KvStrCmp(codeSet, language, texts[0]->Chars(), codeSet, language,
                                       texts[1]->Chars(), operation, -1, 1, nullptr)));
  }
  if (wide) return;
  const KvCaseIString first(texts[0]->Chars());
  const KvCaseIString second(texts[1]->Chars());
  answers.Add(
      support::Sign(DefaultTypeMgr(nullptr)->Cmp(KvCASEISTRING_T, &first, &second, 0, 1, 8)));
}

// A run of one fixed row.
struct Values {
  char row;
  unsigned char format;
  unsigned count;
  unsigned stride;
};

// Of the stored values that the first text holds; a count of 0 when it holds none.
Values ValuesOf(const Input& input) {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  Values values{static_cast<char>(input.option % 47), 0, 0, 0};
  values.format = (input.option & 0x80) != 0 ? 2 : 0;
  if (!types.IsFixed(values.row)) return values;
  values.stride = types.DiskLenGet(values.row, nullptr, values.format, 1, 0);
  if (values.stride != 0) {
    values.count = static_cast<unsigned>(input.texts[0].size() / values.stride);
  }
  return values;
}

// Hash and keys of a run in either form; its bytes when `length` is not 0.
void HashAndKeys(Answers& answers, const Input& input, const Values& values, const void* run,
                 unsigned length, unsigned char format) {
  int status = 0;
  answers.Add(DefaultTypeMgr(nullptr)->Hash(values.row, length, run, values.count, format, status));
  const auto options = static_cast<unsigned char>(input.shifts[1] % 6);
  const KvSortKeyKind kind{.type = values.row, .options = options};
  std::size_t size = 0;
  answers.Add(KvSortKeyRun(kind, run, length, format, values.count, nullptr, 0, nullptr, size));
  const Block keys(input.shifts[1], size);
  std::vector<std::size_t> offsets(values.count + 1);
  for (std::size_t* places : {static_cast<std::size_t*>(nullptr), offsets.data()}) {
    answers.Add(KvSortKeyRun(kind, run, length, format, values.count, keys.Get(), keys.Size(),
                             places, size));
    answers.Add(keys);
  }
  answers.Add(offsets.data(), offsets.size() * sizeof offsets[0]);
}

void RunStored(const Input& input, Answers& answers) {
  const Values values = ValuesOf(input);
  const Block first(input.shifts[0], input.texts[0]);
  const Block second(input.shifts[1], input.texts[1]);
  const auto shared = std::min(values.count * values.stride, static_cast<unsigned>(second.Size()));
  if (values.count == 0 || shared < values.stride) return;
  int status = 0;
  answers.Add(support::Sign(
      DefaultTypeMgr(nullptr)->Cmp(values.row, shared, first.Get(), shared, second.Get(),
                                   kvCompareExact, shared / values.stride, values.format, status)));
  answers.Add(status);
  HashAndKeys(answers, input, values, first.Get(), values.count * values.stride, values.format);
}

bool IsNullable(char row) {
  return (row >= KvNULL_1B_T && row <= KvNULL_KVINT64_T) || row == KvNULL_8B_T ||
         row == KvNULL_U8B_T;
}

// Makes nulls of some values, which keep their scalars: these are no matter. The mark stands behind
// the scalar, and in the stored form behind it is the end.
void SetNulls(const Input& input, const Values& values, const Block& memory) {
  const std::size_t width = memory.Size() / values.count;
  const std::size_t every = 1 + input.shifts[0] % 9;
  for (std::size_t i = 0; i < values.count; i += every) {
    memory.Get()[i * width + values.stride - 1] = 1;
  }
}

// The same in memory, some of the values made null where there is one, and stored again in either
// byte order.
void RunInMemory(const Input& input, Answers& answers) {
  const KvTypeMgr& types = *DefaultTypeMgr(nullptr);
  const Values values = ValuesOf(input);
  if (values.count == 0) return;
  const Block stored(input.shifts[0], input.texts[0]);
  const Block memory(input.shifts[1] / 8 * 8,
                     std::size_t{values.count} * types.MemLenGet(values.row, 1));
  answers.Add(types.Load(values.row, memory.Get(), stored.Get(), values.format, values.count));
  if (IsNullable(values.row)) SetNulls(input, values, memory);
  HashAndKeys(answers, input, values, memory.Get(), 0, 8);
  for (const unsigned char format : std::initializer_list<unsigned char>{0, 2}) {
    const Block again(input.shifts[0], std::size_t{values.count} * values.stride);
    answers.Add(types.Store(values.row, again.Get(), memory.Get(), format, values.count));
    answers.Add(again);
  }
}

Answers Work(const Input& input) {
  constexpr void (*kWork[])(const Input&, Answers&) = {
      Decode,
      Encode,
      [](const Input& given, Answers& answers) { Edit(given, answers, false); },
      [](const Input& given, Answers& answers) { Edit(given, answers, true); },
      [](const Input& given, Answers& answers) { Compare(given, answers, false); },
      [](const Input& given, Answers& answers) { Compare(given, answers, true); },
      RunStored,
      RunInMemory};
  Answers answers;
  kWork[input.work % std::size(kWork)](input, answers);
  return answers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size <= kHead) return 0;
  const Input input = Read(data, size);
  kv::LimitVectors(kv::VectorSet::kPlain);
  const Answers plain = Work(input);
  support::WithEachVectorSet([&] {
    if (!(Work(input) == plain)) std::abort();
  });
  return 0;
}
