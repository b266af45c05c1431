// MrSIDImageReader: the pipeline's first stage. It reads the stream's signature and hands the
// decoding to the matching engine (see LTIImageEngine.h).
#pragma once
#include "LTIImageEngine.h"

#include <memory>

namespace LizardTech {

class MrSIDImageReader : public LTIImageStage {
public:
    static MrSIDImageReader *create() { return new MrSIDImageReader(); }
    ~MrSIDImageReader() override;

    // Reads from `stream` (opened here when it is not open yet; it stays owned by the caller
    // and must outlive the reader). `secondStream` is not used and may be null.
    LT_STATUS initialize(LTIOStreamInf *stream, LTIOStreamInf *secondStream,
                         MrSIDMemoryUsage memoryUsage, MrSIDStreamUsage streamUsage);

protected:
    LT_STATUS decode(const Window &window, LTISceneBuffer &buffer) override;

private:
    MrSIDImageReader() = default;
    LT_STATUS readSignature(LTIOStreamInf &stream, ImageSignature &signature);

    std::unique_ptr<LTIImageEngine> engine_;
};

} // namespace LizardTech
