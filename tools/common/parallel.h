// Work in pieces that need not wait for each other, on all processors.
#pragma once

#include <cstddef>
#include <functional>

// How many threads work at once, the caller's own among them: as many as there are processors, but
// no more than eight, beyond which memory is the limit of what the tools do.
unsigned Workers();

// Calls `work(item, worker)` for every item below `count`, each once, in any order; `worker` is
// below Workers(), and no two calls with the same one run at once. Now and then `report(items)`
// tells how many more are done, on the caller's thread. What a call throws comes out of here when
// all threads are done, one of them if several threw.
void ForEachItem(std::size_t count, const std::function<void(std::size_t, unsigned)>& work,
                 const std::function<void(std::size_t)>& report);
