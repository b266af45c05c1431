// The engines behind MrSIDImageReader: one per image format, chosen by the stream's signature.
#pragma once
#include "LTIImageStage.h"
#include "LTIOStreamInf.h"

#include <cstddef>
#include <functional>
#include <memory>

namespace LizardTech {

// An engine is an image stage that initialises itself from a stream (open, at any position).
// The stream stays owned by the caller and must outlive the engine.
class LTIImageEngine : public LTIImageStage {
public:
    virtual LT_STATUS initialize(LTIOStreamInf &stream) = 0;
};

enum class ImageSignature { TooShort, Unknown, Tiff, MrSID, Jpeg2000 };

// What the first bytes of a file say it is (at least 4 bytes are needed).
ImageSignature DetectImageSignature(const lt_uint8 *bytes, size_t size);

// Makes the engine for a signature; null with a recorded status when there is none.
using EngineFactory = std::function<std::unique_ptr<LTIImageEngine>(ImageSignature)>;

// Replaces the engine choice for every reader of the process (tests inject engines of their
// own); an empty factory restores the built-in choice.
void SetEngineFactory(EngineFactory factory);

// The engine for `signature` from the installed factory or the built-in choice; on null,
// `status` says why.
std::unique_ptr<LTIImageEngine> MakeEngine(ImageSignature signature, LT_STATUS &status);

} // namespace LizardTech
