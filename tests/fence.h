// The allocator of fence.cpp, in the programs that have it.
#pragma once

// Blocks of before are the C library's.
[[gnu::weak]] void RaiseFence();
