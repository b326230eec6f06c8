// Every function of kvchecked.h on arbitrary types, formats, lengths and bytes. Each buffer is a
// heap block of exactly its size, so the address sanitizer sees a byte too far. What is accepted
// must load, compare, hash and be stored again.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "kv.h"
#include "require.h"
#include "support/run.h"
#include "twins.h"

namespace {

struct Block {
  Block(const unsigned char* data, std::size_t length)
      : bytes(new unsigned char[length]), size(length) {
    std::copy_n(data, length, bytes.get());
  }
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t size;
};

using support::Run;

struct Question {
  const KvTypeMgr& types;
  char id;
  unsigned char format;
  unsigned count;
};

void TryStored(const Question& ask, const Block& block) {
  const auto& [types, id, format, count] = ask;
  const KvMeasured run = KvMeasureStored(types, id, block.bytes.get(), block.size, format, count);
  Require(run.bytes <= block.size && run.offset <= block.size && run.reason != nullptr);
  if (run.status != kvOk) return;
  Require(count == 0 ? run.bytes == block.size : run.count == count);
  const Run values(types, id, run.count);
  const KvMeasured loaded =
      KvLoadChecked(types, id, values.Values(), block.bytes.get(), block.size, format, run.count);
  Require(loaded.status == kvOk && loaded.bytes == run.bytes);
  int status = kvOk;
  const auto length = static_cast<unsigned>(run.bytes);
  types.Cmp(id, length, block.bytes.get(), length, block.bytes.get(), 0x10, run.count, format,
            status);
  Require(status == kvOk);
  types.Hash(id, length, block.bytes.get(), run.count, format, status);
  Require(status == kvOk);

  const KvStored needed = KvStoredSize(types, id, values.Values(), run.count);
  if (needed.status == kvOutOfRange) return;
  Require(needed.status == kvOk);
  std::unique_ptr<unsigned char[]> stored(new unsigned char[needed.bytes]);
  Require(KvStoreChecked(types, id, stored.get(), needed.bytes, values.Values(), format, run.count)
              .status == kvOk);
  Require(KvMeasureStored(types, id, stored.get(), needed.bytes, format, run.count).status == kvOk);
  if (needed.bytes != 0) {
    Require(KvStoreChecked(types, id, nullptr, needed.bytes - 1, values.Values(), format, run.count)
                .status == kvBufferShort);
  }
}

void TryOrder(const Question& ask, const Block& a, const Block& b) {
  const auto order = [&](const Block& left, const Block& right) {
    return KvOrderStored(ask.types, ask.id, left.bytes.get(), left.size, right.bytes.get(),
                         right.size, ask.format);
  };
  const bool same = a.size == b.size && std::memcmp(a.bytes.get(), b.bytes.get(), a.size) == 0;
  Require((order(a, b) == 0) == same && order(a, b) == -order(b, a));
}

void TryText(const Question& ask, const std::string& text, const std::string& format, bool wide) {
  char id = 0;
  KvFindType(ask.types, text, id);
  KvString input(wide ? kvCodeSetUnicode : kvCodeSetLatin1, 1);
  input << text.c_str();
  if (KvCheckType(ask.types, ask.id) != kvOk) {
    char nothing[1];
    Require(!KvScanChecked(ask.types, ask.id, nothing, input, nullptr).IsValue());
    return;
  }
  const Run value(ask.types, ask.id, 1);
  for (const char* each : {format.empty() ? nullptr : format.c_str(), "%Y-%m-%dT%H:%M:%f"}) {
    const KvScanned read = KvScanChecked(ask.types, ask.id, value.Values(), input, each);
    Require(read.position <= input.Len());
    Require(read.status != kvOk || read.position == input.Len());
    Require(*KvStatusName(read.status) == 'k');
    const KvPrinted asked = KvPrintChecked(ask.types, ask.id, nullptr, 0, value.Values(), each);
    const std::unique_ptr<char[]> room(new char[asked.length]);
    const KvPrinted printed =
        KvPrintChecked(ask.types, ask.id, room.get(), asked.length, value.Values(), each);
    Require(printed.status == kvOk && printed.length == asked.length);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const KvTypeMgr old(3);
  if (size < 6) return 0;
  const KvTypeMgr& types = data[0] % 8 == 0 ? old : *DefaultTypeMgr(nullptr);
  const Question ask{types, static_cast<char>(data[1]), data[2], data[3] % 5u};
  const bool wide = data[0] % 16 > 8;
  const std::size_t cut = std::min<std::size_t>(data[4], size - 6);
  data += 6;
  size -= 6;
  const Twins runs(data, size, cut, (data[-1] & 1) != 0);
  const Block first(runs.first.data(), runs.first.size());
  const Block second(runs.second.data(), runs.second.size());
  TryStored(ask, first);
  TryStored(ask, second);
  TryOrder(ask, first, second);
  const auto* letters = reinterpret_cast<const char*>(data);
  TryText(ask, std::string(letters, cut), std::string(letters + cut, size - cut), wide);
  return 0;
}
