// Arbitrary bytes through the UTF-8 decoders and back: the fast kernels must give what the plain
// rules give, and encoding the result must give the plain encoding.
#include "../tests/support/vector_sets.h"
#include "../tests/text/plain_utf8.h"
#include "require.h"

namespace {

void Check(std::string_view bytes) {
  plain::CheckDecoders(bytes, Require);
  KvString text;
  KvMBS2KvString(bytes.data(), text, static_cast<int>(bytes.size()));
  std::string encoded;
  for (const unsigned short unit : plain::UnitsOf(text)) encoded += plain::Encode(unit);
  Require(KvMBSLength(text, 65535) == static_cast<int>(encoded.size()));
  std::vector<char> out(encoded.size());
  Require(KvString2KvMBS(text, out.data(), static_cast<int>(out.size())) ==
          static_cast<int>(out.size()));
  Require(std::equal(out.begin(), out.end(), encoded.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  support::WithEachVectorSet([&] { Check({reinterpret_cast<const char*>(data), size}); });
  return 0;
}
