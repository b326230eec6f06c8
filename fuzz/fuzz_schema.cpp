// Arbitrary text as the schema of a record: it is refused with a failure, or written again it reads
// back to the same schema.
#include <cstdlib>
#include <string_view>

#include "failure.h"
#include "schema.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  try {
    const Schema schema = ParseSchema({reinterpret_cast<const char*>(data), size});
    const std::string text = SchemaText(schema);
    if (!(ParseSchema(text) == schema) || SchemaText(ParseSchema(text)) != text) std::abort();
  } catch (const Failure&) {
  }
  return 0;
}
