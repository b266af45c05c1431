// The open JPEG 2000 engine: JP2 files and bare codestreams decoded with OpenJPEG, the
// resolution levels being the reductions.
#pragma once
#include "lti/LTIImageEngine.h"

#include <memory>

namespace engines::jpeg2000 {

std::unique_ptr<LizardTech::LTIImageEngine> MakeJpeg2000Engine();

} // namespace engines::jpeg2000
