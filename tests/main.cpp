// The one main of every doctest program.
#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest/doctest.h>

#include "fence.h"

int main(int count, char** arguments) {
  if (RaiseFence != nullptr) RaiseFence();
  return doctest::Context(count, arguments).run();
}
