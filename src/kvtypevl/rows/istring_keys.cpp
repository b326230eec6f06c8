#include "kvtypevl/rows/istring_keys.h"

#include <cstdlib>
#include <memory>

#include "kvbase/lifetime.h"
#include "kvstring/istring_weights.h"
#include "kvtypevl/rows/string_runs.h"

namespace kv {
namespace {

template <class Weights>
class KeyedTexts {
 public:
  using Value = KvWeightedString<Weights>;

  explicit KeyedTexts(const KeyedRun& run)
      : memory_(run.IsMemory() ? static_cast<const Value*>(run.values) : nullptr),
        stored_(run.IsMemory() ? nullptr : run.values, run.length, run.format, run.count) {}

  // kvOk; kvNotSupported for a text that has no key, kvBadArgument for one that is not whole.
  int Next(WeightedText& text) {
    if (memory_ == nullptr) return NextStored(text);
    const Value& value = *memory_++;
    text = TextOf(value.StrGet(), std::strlen(value.StrGet()));
    return value.GetFlags() == 0 ? kvOk : kvNotSupported;
  }

 private:
  static WeightedText TextOf(const void* bytes, std::size_t length) {
    return {length == 0 ? nullptr : static_cast<const unsigned char*>(bytes), length, 0};
  }

  int NextStored(WeightedText& text) {
    Text stored;
    if (stored_.Next(stored) != kvOk || stored_.IsCut()) return kvBadArgument;
    // What becomes of 16-bit units is the process's default code set's affair.
    if (KvIsWideCodeSet(stored.codeSet)) return kvNotSupported;
    text = TextOf(stored.units, TextLength(stored.units, false, stored.length));
    return kvOk;
  }

  const Value* memory_;
  StoredStringRun stored_;
};

// A byte that has just that weight for each; 0 for none.
template <class Weights>
constexpr auto kByteOfWeight = [] {
  std::array<unsigned char, 256> bytes{};
  for (unsigned byte = 255; byte != 0; --byte) {
    const Weight weight = WeightsOf<Weights>::kTable[byte];
    if (!weight.IsExpansion()) bytes[weight.first] = static_cast<unsigned char>(byte);
  }
  return bytes;
}();

template <class Weights>
constexpr bool HasByteForEveryWeight() {
  for (unsigned byte = 1; byte < 256; ++byte) {
    const Weight weight = WeightsOf<Weights>::kTable[byte];
    if (kByteOfWeight<Weights>[weight.first] == 0) return false;
    if (weight.IsExpansion() && kByteOfWeight<Weights>[weight.second] == 0) return false;
  }
  return kByteOfWeight<Weights>[0] == 0;
}
static_assert(HasByteForEveryWeight<KvIStringWeights>());
static_assert(HasByteForEveryWeight<KvCaseIStringWeights>());

template <class Weights, class Sink>
void PutWeights(const WeightedText& text, Sink& sink) {
  WeightWalk<Weights> walk(text);
  for (unsigned left = kLongestWeightedText; left != 0; --left) {
    const unsigned weight = walk.Next();
    if (weight == 0) break;
    sink.Put(static_cast<unsigned char>(weight));
  }
}

template <class Weights, class Sink>
void PutText(const WeightedText& text, Sink& sink) {
  if (text.length != 0) {
    sink.Put(0x01);
    PutWeights<Weights>(text, sink);
  }
  sink.Put(0x00);
}

struct FreeBytes {
  void operator()(char* bytes) const { std::free(bytes); }
};

}  // namespace

template <class Weights>
o_u8b WeightedKeys<Weights>::Bound(o_u8b bytes, unsigned count) {
  return 2 * bytes + 2 * o_u8b{count};
}

template <class Weights>
int WeightedKeys<Weights>::Check(const KeyedRun& run, o_u8b& bytes) {
  const int extent = run.IsMemory() ? CheckExtent(run, sizeof(KvIString), 0) : kvOk;
  if (extent != kvOk) return extent;
  KeyedTexts<Weights> texts(run);
  for (unsigned i = 0; i < run.count; ++i) {
    WeightedText text{};
    const int status = texts.Next(text);
    if (status != kvOk) return status;
    bytes += text.length;
  }
  return kvOk;
}

template <class Weights>
o_u8b WeightedKeys<Weights>::Measure(const KeyedRun& run) {
  KeyedTexts<Weights> texts(run);
  KeyMeasure measure;
  for (unsigned i = 0; i < run.count; ++i) {
    WeightedText text{};
    texts.Next(text);
    PutText<Weights>(text, measure);
  }
  return measure.Size();
}

template <class Weights>
std::size_t WeightedKeys<Weights>::Write(const KeyedRun& run, unsigned char* keys,
                                         std::size_t* offsets) {
  KeyedTexts<Weights> texts(run);
  KeySink sink(keys);
  OffsetList begins(keys, offsets);
  for (unsigned i = 0; i < run.count; ++i) {
    begins.Add(sink.At());
    WeightedText text{};
    texts.Next(text);
    PutText<Weights>(text, sink);
  }
  begins.Add(sink.At());
  return static_cast<std::size_t>(sink.At() - keys);
}

// The empty text begins every text, itself included.
template <class Weights>
std::size_t WeightedKeys<Weights>::WriteBeginning(const KeyedRun& run, unsigned char* key) {
  WeightedText text{};
  KeyedTexts<Weights>(run).Next(text);
  if (text.length == 0) return 0;
  KeySink sink(key);
  sink.Put(0x01);
  PutWeights<Weights>(text, sink);
  return static_cast<std::size_t>(sink.At() - key);
}

template <class Weights>
int WeightedKeys<Weights>::Read(KeySource& source, const KvSortKeyKind&, bool, void* value) {
  using Value = KvWeightedString<Weights>;
  unsigned char byte;
  if (!source.Take(byte) || byte > 0x01) return kvBadArgument;
  KeySource weights = source;
  unsigned length = 0;
  if (byte == 0x01) {
    for (; source.Take(byte) && byte != 0x00; ++length) {
      if (kByteOfWeight<Weights>[byte] == 0) return kvBadArgument;
    }
    if (byte != 0x00 || length == 0 || length > kLongestWeightedText) return kvBadArgument;
  }
  if (value == nullptr) return kvOk;
  const std::unique_ptr<char, FreeBytes> text(static_cast<char*>(std::malloc(length + 1)));
  if (text == nullptr) {
    ReportLowMemory(length + 1);
    return kvNotSupported;
  }
  for (unsigned i = 0; i < length; ++i) {
    weights.Take(byte);
    text.get()[i] = static_cast<char>(kByteOfWeight<Weights>[byte]);
  }
  text.get()[length] = 0;
  Value read(text.get());
  if (read.IsEmpty() != (length == 0)) return kvNotSupported;  // memory was short
  *static_cast<Value*>(value) = std::move(read);
  return kvOk;
}

template struct WeightedKeys<KvIStringWeights>;
template struct WeightedKeys<KvCaseIStringWeights>;

}  // namespace kv
