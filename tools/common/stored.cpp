#include "stored.h"

#include <algorithm>

#include "catalogue.h"
#include "failure.h"
#include "kv.h"

namespace {

constexpr unsigned kReversed = 2;
constexpr unsigned kNullBlob = 0xFFFFFFFFU;
constexpr unsigned char kBlockMark = 0xFF;  // ends every block of the present string form

// A cursor over the stored bytes that fails at their end.
class StoredReader {
 public:
  StoredReader(const Bytes& bytes, unsigned char order)
      : bytes_(bytes), reversed_((order & 0x0F) == kReversed) {}

  std::size_t Position() const { return position_; }
  std::size_t Left() const { return bytes_.size() - position_; }
  unsigned char At(std::size_t position) const { return bytes_[position]; }

  unsigned Number(unsigned width, const char* what) {
    Require(width, what);
    unsigned number = 0;
    for (unsigned i = 0; i < width; ++i) {
      const unsigned shift = 8 * (reversed_ ? width - 1 - i : i);
      number |= static_cast<unsigned>(bytes_[position_ + i]) << shift;
    }
    position_ += width;
    return number;
  }

  void Skip(std::size_t count, const char* what) {
    Require(count, what);
    position_ += count;
  }

 private:
  void Require(std::size_t count, const char* what) const {
    if (count <= Left()) return;
    FailValue(std::string("the bytes end too soon: ") + what + " at offset " +
              std::to_string(position_) + " takes " + std::to_string(count) + ", there are " +
              std::to_string(Left()));
  }

  const Bytes& bytes_;
  bool reversed_;
  std::size_t position_ = 0;
};

[[noreturn]] void FailAt(std::size_t position, const std::string& what) {
  FailValue(what + " at offset " + std::to_string(position));
}

StoredRun MeasureFixed(char id, const Bytes& bytes, unsigned char order, unsigned count) {
  const std::size_t width = Types().DiskLenGet(id, bytes.data(), order, 1, 0);
  if (width == 0) FailValue(TypeName(id) + " values cannot be stored");
  if (count == 0) {
    if (bytes.size() % width != 0 || bytes.empty()) {
      FailValue(std::to_string(bytes.size()) + " bytes are no whole number of " + TypeName(id) +
                " values, which take " + std::to_string(width) + " each");
    }
    count = static_cast<unsigned>(std::min<std::size_t>(bytes.size() / width, 0xFFFFFFFFU));
  }
  if (count > bytes.size() / width) {
    FailValue(std::to_string(count) + " values take " +
              std::to_string(static_cast<unsigned long long>(count) * width) +
              " bytes, there are " + std::to_string(bytes.size()));
  }
  return {count, count * width};
}

// The old form, one block for the whole run: length, then the texts, each ended by a zero byte.
StoredRun MeasureOldStrings(const StoredReader& reader, std::size_t blockEnd, unsigned count) {
  unsigned texts = 0;
  for (std::size_t i = reader.Position(); i < blockEnd; ++i) {
    if (reader.At(i) == 0) ++texts;
  }
  if (count > texts) {
    FailValue("the block holds " + std::to_string(texts) + " values, " + std::to_string(count) +
              " are asked for");
  }
  return {count == 0 ? texts : count, blockEnd};
}

// The present form, a block for each string: length, code set, language, text, zero, 0xFF. That
// last byte is what tells the two forms apart.
StoredRun MeasureStrings(const Bytes& bytes, unsigned char order, unsigned count,
                         bool wideAllowed) {
  StoredReader reader(bytes, order);
  unsigned strings = 0;
  do {
    const std::size_t start = reader.Position();
    const unsigned length = reader.Number(2, "a block length");
    const std::size_t text = reader.Position();
    if (strings == 0 && length > 0 && length <= reader.Left() && bytes[text + length - 1] == 0) {
      return MeasureOldStrings(reader, text + length, count);
    }
    reader.Skip(length, "a block");
    if (length < 4) FailAt(start, "a block of " + std::to_string(length) + " bytes, 4 at least");
    if (bytes[reader.Position() - 1] != kBlockMark) {
      FailAt(reader.Position() - 1, "a block that does not end in its mark, 0xff,");
    }
    // Half a unit at the end is no damage: a 16-bit text may sit in a buffer that once held bytes.
    if (KvIsWideCodeSet(bytes[text]) && !wideAllowed) {
      FailAt(text, "16-bit characters where there can be none");
    }
    ++strings;
  } while (count == 0 ? reader.Left() > 0 : strings < count);
  return {strings, reader.Position()};
}

// One total for the run, then for each blob its length and bytes.
StoredRun MeasureBlobs(const Bytes& bytes, unsigned char order, unsigned count) {
  StoredReader reader(bytes, order);
  const unsigned total = reader.Number(4, "the total length");
  const std::size_t end = reader.Position() + total;
  if (total > reader.Left()) reader.Skip(total, "the run");
  unsigned blobs = 0;
  while (count == 0 ? reader.Position() < end : blobs < count) {
    const std::size_t start = reader.Position();
    if (end - start < 4) {
      FailAt(start, "the run ends after " + std::to_string(blobs) + " values,");
    }
    const unsigned length = reader.Number(4, "a length");
    if (length != kNullBlob) {
      if (length > end - reader.Position()) {
        FailAt(start, "a blob of " + std::to_string(length) + " bytes, past the end of the run,");
      }
      reader.Skip(length, "a blob");
    }
    ++blobs;
  }
  if (blobs == 0) FailValue("the run holds no value");
  return {blobs, end};
}

StoredRun MeasureOfKind(char id, const Bytes& bytes, unsigned char order, unsigned count) {
  switch (id) {
    case KvSTRING_T:
      return MeasureStrings(bytes, order, count, true);
    case KvISTRING_T:
    case KvCASEISTRING_T:
      return MeasureStrings(bytes, order, count, false);
    case KvBLOB_T:
      return MeasureBlobs(bytes, order, count);
    default:
      return MeasureFixed(id, bytes, order, count);
  }
}

}  // namespace

StoredRun MeasureStored(char id, const Bytes& bytes, unsigned char order, unsigned count) {
  const StoredRun run = MeasureOfKind(id, bytes, order, count);
  if (count == 0 && run.bytes < bytes.size()) {
    FailAt(run.bytes, std::to_string(bytes.size() - run.bytes) + " bytes after the last value,");
  }
  return run;
}
