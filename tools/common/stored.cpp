#include "stored.h"

#include "catalogue.h"
#include "failure.h"
#include "kv.h"

namespace {

std::string At(std::size_t offset) {
  return " at offset " + std::to_string(offset);
}

// Values of one width need no place to be told.
[[noreturn]] void FailFixed(char id, std::size_t size, unsigned count) {
  const std::size_t width = Types().DiskLenGet(id, nullptr, 0, 1, 0);
  if (count == 0) {
    FailValue(Counted(size, "byte is", "bytes are") + " no whole number of " + TypeName(id) +
              " values, which take " + std::to_string(width) + " each");
  }
  FailValue(Counted(count, "value takes", "values take") + " " +
            Counted(static_cast<unsigned long long>(count) * width, "byte", "bytes") +
            ", there are " + std::to_string(size));
}

[[noreturn]] void FailMeasuring(char id, const KvMeasured& run, std::size_t size, unsigned count,
                                std::size_t place) {
  if (run.status == kvNotSupported) FailValue(TypeName(id) + " values cannot be stored");
  if (run.status == kvBufferShort && Types().IsFixed(id)) FailFixed(id, size, count);
  if (run.status == kvBufferShort) {
    FailValue(std::string("the bytes end too soon: ") + run.reason + At(place + run.offset) +
              " takes " + std::to_string(run.needed) + ", there are " +
              std::to_string(size - run.offset));
  }
  FailValue(run.reason + (run.status == kvDamaged ? At(place + run.offset) : std::string()));
}

}  // namespace

StoredRun MeasureStored(char id, const unsigned char* bytes, std::size_t size, unsigned char order,
                        unsigned count, std::size_t place) {
  const KvMeasured run = KvMeasureStored(Types(), id, bytes, size, order, count);
  if (run.status != kvOk) FailMeasuring(id, run, size, count, place);
  return {run.count, run.bytes, run.strange, run.firstStrange, run.oldForm};
}

StoredRun MeasureStored(char id, const Bytes& bytes, unsigned char order, unsigned count) {
  return MeasureStored(id, bytes.data(), bytes.size(), order, count, 0);
}
