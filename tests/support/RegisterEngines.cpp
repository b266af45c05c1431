// Linked into every test program that opens files through the reader: the open engines are
// registered before any test runs, as a host registers them before it builds readers.
#include "engines/OpenEngines.h"

namespace {

const bool kEnginesRegistered = (engines::RegisterOpenEngines(), true);

} // namespace
