// Engine choice by signature and forwarding to the engine.
#include "MrSIDImageReader.h"

#include <map>
#include <mutex>
#include <string>

namespace LizardTech {
namespace {

std::mutex &FactoryMutex() {
    static std::mutex m;
    return m;
}

EngineFactory &InstalledFactory() {
    static EngineFactory factory;
    return factory;
}

std::map<ImageSignature, EngineMaker> &RegisteredEngines() {
    static std::map<ImageSignature, EngineMaker> engines;
    return engines;
}

const char *SignatureName(ImageSignature signature) {
    switch (signature) {
    case ImageSignature::Tiff:
        return "TIFF";
    case ImageSignature::MrSID:
        return "MrSID";
    case ImageSignature::Jpeg2000:
        return "JPEG 2000";
    default:
        return "this";
    }
}

// Why no engine reads `signature` when none is registered for it.
LT_STATUS NoEngine(ImageSignature signature) {
    switch (signature) {
    case ImageSignature::MrSID:
        return setLastStatus(LTI_STS_MrSIDEngineMissing, "");
    case ImageSignature::Jpeg2000:
        return setLastStatus(LTI_STS_Jpeg2000EngineMissing, "");
    case ImageSignature::TooShort:
        return setLastStatus(LTI_STS_NotAnImage, "the file is shorter than any image header");
    case ImageSignature::Unknown:
        return setLastStatus(LTI_STS_NotAnImage, "unknown file signature");
    default:
        return setLastStatus(LTI_STS_NotAnImage, std::string("no engine for ") +
                                                     SignatureName(signature) +
                                                     " images is registered");
    }
}

bool StartsWith(const lt_uint8 *bytes, size_t size, const char *magic, size_t magicSize) {
    if (size < magicSize)
        return false;
    for (size_t i = 0; i < magicSize; ++i)
        if (bytes[i] != static_cast<lt_uint8>(magic[i]))
            return false;
    return true;
}

} // namespace

ImageSignature DetectImageSignature(const lt_uint8 *bytes, size_t size) {
    if (size < 4)
        return ImageSignature::TooShort;
    if (StartsWith(bytes, size, "msid", 4))
        return ImageSignature::MrSID;
    if (StartsWith(bytes, size, "II*\0", 4) || StartsWith(bytes, size, "MM\0*", 4) ||
        StartsWith(bytes, size, "II+\0", 4) || StartsWith(bytes, size, "MM\0+", 4))
        return ImageSignature::Tiff;
    // JP2 signature box, or a bare codestream's SOC and SIZ markers.
    if (StartsWith(bytes, size, "\0\0\0\x0CjP  \r\n\x87\n", 12) ||
        StartsWith(bytes, size, "\xFF\x4F\xFF\x51", 4))
        return ImageSignature::Jpeg2000;
    return ImageSignature::Unknown;
}

void RegisterEngine(ImageSignature signature, EngineMaker maker) {
    std::lock_guard<std::mutex> lock(FactoryMutex());
    if (maker)
        RegisteredEngines()[signature] = std::move(maker);
    else
        RegisteredEngines().erase(signature);
}

void SetEngineFactory(EngineFactory factory) {
    std::lock_guard<std::mutex> lock(FactoryMutex());
    InstalledFactory() = std::move(factory);
}

std::unique_ptr<LTIImageEngine> MakeEngine(ImageSignature signature, LT_STATUS &status) {
    EngineFactory factory;
    EngineMaker maker;
    {
        std::lock_guard<std::mutex> lock(FactoryMutex());
        factory = InstalledFactory();
        const auto found = RegisteredEngines().find(signature);
        if (found != RegisteredEngines().end())
            maker = found->second;
    }
    status = LT_STS_Success;
    if (factory) {
        auto engine = factory(signature);
        if (!engine)
            status = setLastStatus(LTI_STS_NotAnImage, std::string("no engine for ") +
                                                           SignatureName(signature) + " images");
        return engine;
    }
    if (maker)
        return maker();
    status = NoEngine(signature);
    return nullptr;
}

MrSIDImageReader::~MrSIDImageReader() = default;

LT_STATUS MrSIDImageReader::readSignature(LTIOStreamInf &stream, ImageSignature &signature) {
    if (!stream.isOpen() && stream.open() != LT_STS_Success)
        return setLastStatus(LTI_STS_StreamNotOpen, "the file could not be opened");
    if (stream.seek(0, LTIO_SEEK_DIR_BEG) != LT_STS_Success)
        return setLastStatus(LTI_STS_StreamReadFailed, "cannot seek to the start of the file");
    lt_uint8 bytes[12] = {};
    const lt_uint32 got = stream.read(bytes, sizeof bytes);
    signature = DetectImageSignature(bytes, got);
    if (stream.seek(0, LTIO_SEEK_DIR_BEG) != LT_STS_Success)
        return setLastStatus(LTI_STS_StreamReadFailed, "cannot seek to the start of the file");
    return LT_STS_Success;
}

LT_STATUS MrSIDImageReader::initialize(LTIOStreamInf *stream, LTIOStreamInf *, MrSIDMemoryUsage,
                                       MrSIDStreamUsage) {
    if (stream == nullptr)
        return setLastStatus(LT_STS_BadParam, "no input stream");
    if (engine_)
        return setLastStatus(LT_STS_Failure, "the reader is already initialized");
    ImageSignature signature = ImageSignature::Unknown;
    if (const LT_STATUS status = readSignature(*stream, signature))
        return status;
    LT_STATUS status = LT_STS_Success;
    auto engine = MakeEngine(signature, status);
    if (!engine)
        return status;
    if ((status = engine->initialize(*stream)) != LT_STS_Success)
        return status;
    if ((status = setImageProps(engine->getWidth(), engine->getHeight(), engine->getPixelProps(),
                                engine->getMinMagnification())) != LT_STS_Success)
        return status;
    for (lt_uint16 b = 0; b < engine->getNumBands(); ++b)
        setDynamicRange(b, engine->getMinDynamicRange(b), engine->getMaxDynamicRange(b));
    setSource(engine.get());
    engine_ = std::move(engine);
    return LT_STS_Success;
}

LT_STATUS MrSIDImageReader::decode(const Window &window, LTISceneBuffer &buffer) {
    const LTIScene scene(window.x, window.y, window.width, window.height, 1.0 / window.reduction);
    return engine_->read(scene, buffer);
}

} // namespace LizardTech
