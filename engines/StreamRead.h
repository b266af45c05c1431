// Reading from the seam's stream, whose reads count in 32 bits, in pieces of any size.
#pragma once
#include "lti/LTIOStreamInf.h"

#include <cstddef>

namespace engines {

// Reads up to `size` bytes from the stream's position into `dest`; returns how many it got
// (fewer only at the end of the stream or on a failure).
size_t ReadStream(LizardTech::LTIOStreamInf &stream, void *dest, size_t size);

} // namespace engines
