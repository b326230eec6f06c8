// KvBlob: edits against a plain model, order, the stored form with honest and hostile lengths, and
// what happens when memory is short.
#include <doctest/doctest.h>
#include <sys/resource.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "kvblob.h"
#include "kvcompare.h"
#include "kvstring.h"
#include "kvtypemgr.h"
#include "support/types.h"

namespace {

using Bytes = std::optional<std::string>;  // nothing: null

using support::Types;

Bytes Content(KvBlob& blob) {
  if (blob.IsNullValue()) return std::nullopt;
  const unsigned char* bytes = blob.Seek(0, blob.Length());
  return bytes == nullptr ? std::string() : std::string(bytes, bytes + blob.Length());
}

KvBlob Make(const Bytes& content) {
  KvBlob blob;
  if (content) {
    blob.SetTo(content->data(), static_cast<int>(content->size()));
  } else {
    KvBlob::Destroy(blob);
  }
  return blob;
}

// A buffer of exactly the given bytes, so that a sanitizer sees every step outside.
std::unique_ptr<unsigned char[]> Exactly(const std::string& bytes) {
  auto buffer = std::make_unique<unsigned char[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), buffer.get());
  return buffer;
}

std::string Number(unsigned number, bool reversed) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes += static_cast<char>(number >> (reversed ? 24 - 8 * i : 8 * i));
  return bytes;
}

std::string Store(std::vector<KvBlob>& run, unsigned char format) {
  const auto count = static_cast<unsigned>(run.size());
  std::string bytes(Types().DiskLenGet(KvBLOB_T, run.data(), 8, count, 0), '?');
  CHECK(Types().Store(KvBLOB_T, bytes.data(), run.data(), format, count) == bytes.size());
  return bytes;
}

unsigned g_shortOf;
void RecordShortage(unsigned size) {
  g_shortOf = size;
}

}  // namespace

TEST_CASE("edits with any arguments do what they do to a plain string") {
  std::mt19937 random(42);
  const int lengths[] = {INT_MIN, -1, 0, 1, 2, 3, 5, 9, 40, INT_MAX};
  KvBlob blob, other;
  Bytes model = "";
  for (int step = 0; step < 40000; ++step) {
    const int from = lengths[random() % 10], count = lengths[random() % 10];
    const std::size_t size = model ? model->size() : 0;
    const auto start = std::min(static_cast<std::size_t>(std::max(from, 0)), size);
    const auto clamped = std::min(static_cast<std::size_t>(std::max(count, 0)), size - start);
    const std::string piece(random() % 4, static_cast<char>('a' + random() % 3));
    const int pieceLength = static_cast<int>(piece.size());
    switch (random() % 10) {
      case 0:
        blob.Append(piece.data(), pieceLength - 1);
        if (pieceLength > 1) model = model.value_or("") + piece.substr(1);
        break;
      case 1:
        if (size >= 500) break;
        blob += blob;
        if (model) *model += *model;
        break;
      case 2:
        blob.Cut(from, count);
        if (model) model->erase(start, clamped);
        break;
      case 3:
        if (count != INT_MAX) {
          blob.Expand(count);
          if (count > static_cast<int>(size)) {
            model = model.value_or("");
            model->resize(static_cast<std::size_t>(count));
          }
        }
        break;
      case 4:
        blob.Resize(static_cast<unsigned>(random() % 50));
        model = model.value_or("");
        model->resize(static_cast<std::size_t>(blob.Length()));
        break;
      case 5:
        other = KvBlob("old", 3);
        blob.CopyTo(other, from, count);
        CHECK(other.IsNullValue() == blob.IsNullValue());
        CHECK(blob.CopyTo(blob, from, count) == (model ? static_cast<int>(clamped) : 0));
        if (model) model = model->substr(start, clamped);
        break;
      case 6:
        blob.SetTo(blob.Seek(2, 3), 3);
        model = size >= 5 ? model->substr(2, 3) : "";
        break;
      case 7: {
        const KvBlob copy = blob.CopyFrom(from, count);
        const int found = blob.Search(copy);
        CHECK(found == (model ? static_cast<int>(model->find(model->substr(start, clamped))) : -1));
        break;
      }
      case 8:
        if (random() % 20 == 0) {
          blob.SetNullValue();
          model = std::nullopt;
        }
        break;
      default:
        const unsigned char* bytes = blob.Seek(from, count);
        const bool inside =
            size > 0 && from >= 0 && count >= 0 && o_8b{from} + count <= static_cast<o_8b>(size);
        CHECK((bytes != nullptr) == inside);
        blob = *&blob;
    }
    REQUIRE(Content(blob) == model);
  }
  CHECK(Content(*std::make_unique<KvBlob>(3)) == std::string(3, '\0'));
  CHECK(KvBlob(-3).Length() == 0);
  CHECK(KvBlob("ab", 2).Search(KvBlob("abc", 3)) == -1);
  blob.AllocData(4);
  CHECK(blob.Length() == 5);
  blob.AllocData(-1);
  CHECK(blob.Length() == 1);
  blob.SetNullValue();
  blob.Expand(0);
  CHECK((blob.IsNullValue() && blob.Seek(0, 0) == nullptr));
}

TEST_CASE("a null blob stands further from others than these from each other") {
  const KvBlob null = Make(std::nullopt), some("ab", 2), more("b", 1);
  CHECK((null != some) == -2);
  CHECK((some != null) == 2);
  CHECK((some != more) == -1);
  CHECK((more != some) == 1);
  CHECK((null != null) == 0);
}

TEST_CASE("runs of blobs are moved between forms whole, and none ends in its total") {
  std::vector<KvBlob> run(3), copied(3);
  run[0].SetNullValue();
  run[1].SetTo("xyz", 3);
  for (const unsigned char format : {o_u1b{0}, o_u1b{2}}) {
    const std::string stored = Store(run, format);
    MemFile file(stored.data(), 19);
    file.Seek(16);
    CHECK(Types().DiskLenGetFromMemFile(KvBLOB_T, &file, format, 3) == 0);
  }
  CHECK(Types().Translate(KvBLOB_T, copied.data(), 8, 0, run.data(), 8, 0, 3) ==
        3 * sizeof(KvBlob));
  CHECK(copied[1].Seek(0, 3) != run[1].Seek(0, 3));
}

TEST_CASE("hostile lengths load nothing, order what is there, and are never followed outside") {
  const std::string good = Number(7, false) + Number(3, false) + "abc";
  struct {
    std::string stored;
    int status;  // of comparing it with `good` as two blobs
    int order;
  } const cases[] = {
      {Number(7, false) + Number(3, false) + "abc", kvBufferShort, 0},
      {"ab", kvBufferShort, 0},
      {Number(0x7FFFFFFF, false), kvBufferShort, 0},
      {Number(0xFFFFFFFF, false) + Number(9, false) + "abb", kvOk, -1},
      {Number(6, false) + Number(3, false) + "ab", kvBufferShort, 0},
      {Number(7, false) + Number(4, false) + "abc", kvOk, 1},
      {Number(7, false) + Number(0x7FFFFFFF, false) + "abc", kvOk, 1},
      {Number(7, false) + Number(0xFFFFFFFE, false) + "abc", kvNotSupported, 0},
      {Number(7, false) + Number(0x80000000, false) + "abc", kvNotSupported, 0},
  };
  const auto honest = Exactly(good);
  for (const auto& one : cases) {
    const auto buffer = Exactly(one.stored);
    const auto length = static_cast<unsigned>(one.stored.size());
    CAPTURE(one.stored);
    int status;
    for (const unsigned count : {1u, 2u}) {
      const int expected = count == 1 && one.stored == good ? kvOk : one.status;
      CHECK(BlobCompare(0, length, buffer.get(), 11, honest.get(), 0, count, status) == one.order);
      CHECK(status == expected);
      CHECK(BlobCompare(0, 11, honest.get(), length, buffer.get(), 0, count, status) == -one.order);
      CHECK(status == expected);
    }
    Types().Hash(KvBLOB_T, length, buffer.get(), 2, 0, status);
    CHECK(status != kvOk);
    KvBlob target[2] = {KvBlob("keep", 4), KvBlob()};
    // Loading has no buffer length, so a total that lies about the buffer is its caller's to
    // refuse.
    if (length < 4 || Types().DiskLenGet(KvBLOB_T, buffer.get(), 0, 2, 0) != length) continue;
    CHECK(Types().Load(KvBLOB_T, target, buffer.get(), 0, 2) == 0);
    CHECK(target[0].Length() == 4);
  }
}

TEST_CASE("of a run in memory as many are hashed as begin in its length") {
  KvBlob run[2] = {KvBlob("abc", 3), KvBlob("d", 1)};
  int first = -1, status = -1;
  CHECK(Types().Hash(KvBLOB_T, 1, run, 2, 8, status) ==
        Types().Hash(KvBLOB_T, 0, run, 1, 8, first));
  CHECK(status == kvBufferShort);
}

TEST_CASE("a run of more bytes than 32 bits count is not stored") {
  if (sizeof(void*) == 4) return;
  const KvBlob run[] = {KvBlob(INT_MAX), KvBlob(INT_MAX), KvBlob("x", 1)};
  if (run[0].IsNullValue() || run[1].IsNullValue()) {  // never written, and yet too much
    CHECK(KvBlob(INT_MAX - 1).IsNullValue());
    return;
  }
  unsigned char stored[4] = {1, 2, 3, 4};
  CHECK(Types().Store(KvBLOB_T, stored, run, 0, 3) == 0);
  CHECK(stored[0] == 1);
}

TEST_CASE("a blob as text is its length, or its bytes in hex") {
  KvBlob blob("\x01\xAB", 2);
  KvString text;
  CHECK(std::string(Types().PrintToKvString(KvBLOB_T, text, &blob, nullptr, 1).StrGet()) ==
        "[BLOB,len=2]");
  CHECK(std::string(Types().PrintToKvString(KvBLOB_T, text, &blob, "%X%%%q%", 1).StrGet()) ==
        "01ab%q%");
  KvTypeConvertData* texts = Types().ConvertTo(KvBLOB_T, &blob, 1);
  auto* back = static_cast<KvBlob*>(Types().ConvertFrom(KvBLOB_T, texts, 2));
  CHECK(back[0] == blob);
  CHECK(back[1] == KvBlob());
  Types().Delete(KvBLOB_T, back, 2);
  delete texts;
  for (const char* bad : {"0", "0g", "abc", "01,02"}) {
    KvString input(bad);
    Types().ScanFromKvString(KvBLOB_T, &blob, input, nullptr, 1);
    CHECK(blob.Length() == 2);
  }
  std::string many;
  for (const int size : {255, 256, 257, 600}) {
    while (many.size() < static_cast<std::size_t>(size)) many += static_cast<char>(many.size());
    KvBlob sized(many.data(), size), read;
    Types().PrintToKvString(KvBLOB_T, text, &sized, "%X", 1);
    Types().ScanFromKvString(KvBLOB_T, &read, text, nullptr, 1);
    CHECK(read == sized);
  }
  KvBlob longest(40000);
  CHECK(Types().PrintToKvString(KvBLOB_T, text, &longest, "%X", 1).Len() == 65531);
  KvString input("{NULL}");
  Types().ScanFromKvString(KvBLOB_T, &blob, input, nullptr, 1);
  CHECK(blob.IsNullValue());
}

TEST_CASE("when memory is short the handler is told and the blob is null") {
  const KvMemoryHandler previous = KvSetMemoryHandler(RecordShortage);
  KvBlob blob("ab", 2);
  blob.Resize(0xFFFFFFFFu);
  CHECK(g_shortOf == 0xFFFFFFFFu);
  CHECK(blob.IsNullValue());
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // An address space with no room for another half gigabyte makes malloc fail for real.
  rlimit limit;
  REQUIRE(getrlimit(RLIMIT_AS, &limit) == 0);
  rlimit small = limit;
  small.rlim_cur = 0x20000000;
  REQUIRE(setrlimit(RLIMIT_AS, &small) == 0);
  void* probe = std::malloc(0x20000000);
  const bool isHonest = probe == nullptr;
  std::free(probe);
  blob.SetTo("ab", 2);
  blob.Expand(0x20000000);
  KvBlob made(0x30000000);
  setrlimit(RLIMIT_AS, &limit);
  if (isHonest) {
    CHECK(blob.IsNullValue());
    CHECK(made.IsNullValue());
    CHECK(g_shortOf == 0x30000000);
  } else {
    MESSAGE("memory limits do not hold here (an emulator): a real shortage was not tried");
  }
#endif
  KvSetMemoryHandler(previous);
}
