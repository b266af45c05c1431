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

// The seam names no engine: each registers itself for the signatures it reads, and whoever
// builds readers (a host, the plug-in's entry, a test) registers them first.
using EngineMaker = std::function<std::unique_ptr<LTIImageEngine>()>;

// Makes `maker` the engine for `signature` for every reader of the process, replacing any
// earlier one; an empty maker removes it.
void RegisterEngine(ImageSignature signature, EngineMaker maker);

// Makes the engine for a signature; null with a recorded status when there is none.
using EngineFactory = std::function<std::unique_ptr<LTIImageEngine>(ImageSignature)>;

// Overrides the registered engines for every reader of the process (tests inject engines of
// their own); an empty factory restores the registered ones.
void SetEngineFactory(EngineFactory factory);

// The engine for `signature` from the installed factory or the registered engines; on null,
// `status` says why ("no engine for ..." when nothing is registered for the signature).
std::unique_ptr<LTIImageEngine> MakeEngine(ImageSignature signature, LT_STATUS &status);

} // namespace LizardTech
