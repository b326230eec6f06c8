// What a call of the tools gives as text, or the line that it fails with.
#pragma once

#include <string>

#include "failure.h"

template <class Take>
std::string Said(Take take) {
  try {
    return take();
  } catch (const Failure& failure) {
    return std::to_string(failure.exitStatus) + ": " + failure.what;
  }
}
