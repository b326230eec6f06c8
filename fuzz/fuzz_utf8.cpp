// Arbitrary bytes through the UTF-8 decoders and back: the fast kernels must give what the plain
// rules give, and encoding the result must give the plain encoding.
#include <algorithm>

#include "../tests/support/vector_sets.h"
#include "../tests/text/plain_utf8.h"
#include "kvmbs.h"
#include "kvstring.h"
#include "require.h"

namespace {

void Check(const unsigned char* data, std::size_t size) {
  const auto* bytes = reinterpret_cast<const char*>(data);
  const int count = static_cast<int>(size);

  const plain::DecodedString expected = plain::DecodeString({bytes, size});
  KvString text;
  Require(KvMBS2KvString(bytes, text, count) == expected.result);
  Require(text.Len() == expected.units.size());
  const auto* decoded = reinterpret_cast<const unsigned short*>(text.StrGet());
  Require(std::equal(expected.units.begin(), expected.units.end(), decoded));

  const plain::DecodedString array = plain::DecodeArray({bytes, size});
  std::vector<unsigned short> units(size == 0 ? 0 : data[0] % (size + 1));
  Require(KvMultiByteStr2WCharStr(units.data(), static_cast<int>(units.size()), bytes, count) ==
          array.result);
  const std::size_t stored = std::min(units.size(), array.units.size());
  Require(std::equal(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(stored),
                     array.units.begin()));

  std::string encoded;
  for (const unsigned short unit : expected.units) encoded += plain::Encode(unit);
  Require(KvMBSLength(text, 65535) == static_cast<int>(encoded.size()));
  std::vector<char> out(encoded.size());
  Require(KvString2KvMBS(text, out.data(), static_cast<int>(out.size())) ==
          static_cast<int>(out.size()));
  Require(std::equal(out.begin(), out.end(), encoded.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  support::WithEachVectorSet([&] { Check(data, size); });
  return 0;
}
