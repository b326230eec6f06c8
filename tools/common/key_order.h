// The order of many sort keys at once. Comparing two keys reads them where they lie, which is a
// cache miss each; here eight bytes of every key are held beside its number and sorted as words,
// and the keys are read again only where those agree.
#pragma once

#include <cstddef>
#include <vector>

// The numbers of keys of one kind in the order of their keys, or the other way round; equal keys
// stay as they came. Key i begins at `offsets[i]` of `keys` and ends at `offsets[i + 1]`. No key
// may be the beginning of another one, which sort keys never are.
std::vector<unsigned> OrderOfKeys(const unsigned char* keys,
                                  const std::vector<std::size_t>& offsets, bool reverse = false);
