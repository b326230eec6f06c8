// Values from texts of strangers.
#pragma once

#include "run.h"

namespace kvc {

// Reads one value over the constructed `value`. `position` is the byte of the text at which reading
// failed. May throw std::bad_alloc.
int ReadText(char id, const kvc_text_options* options, const char* text, std::size_t length,
             void* value, std::size_t& position);

}  // namespace kvc
