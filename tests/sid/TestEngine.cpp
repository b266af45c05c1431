// The synthetic test engine.
#include "TestEngine.h"

#include "lti/LTIStatus.h"

#include <cstring>

using namespace LizardTech;

namespace sidtest {
namespace {

// Samples are 8 or 16 bits; the conversions of wider types are checked on real files.
void StoreSample(uint8_t *p, LTIDataType type, double v) {
    if (type == LTI_DATATYPE_UINT16) {
        const auto t = static_cast<uint16_t>(v);
        std::memcpy(p, &t, sizeof t);
    } else {
        *p = static_cast<uint8_t>(v);
    }
}

class TestEngine final : public LTIImageEngine {
public:
    TestEngine(std::shared_ptr<TestImage> image, std::shared_ptr<TestEngineLog> log)
        : image_(std::move(image)), log_(std::move(log)) {}

    LT_STATUS initialize(LTIOStreamInf &) override {
        if (image_->failInitialize)
            return setLastStatus(LTI_STS_CorruptImage, kTestFailureDetail);
        const TestImage &im = *image_;
        const LT_STATUS status = setImageProps(
            im.width, im.height, LTIPixel(im.colorSpace, im.bands, im.dataType), im.minMag);
        for (uint16_t b = 0; b < im.bandRanges.size(); ++b)
            setDynamicRange(b, im.bandRanges[b].first, im.bandRanges[b].second);
        for (const auto &record : im.records)
            metadata().add(record);
        setGeoCoord(im.geo);
        return status;
    }

protected:
    LT_STATUS decode(const Window &w, LTISceneBuffer &buffer) override {
        const int index = static_cast<int>(log_->scenes.size());
        log_->scenes.push_back(
            {double(w.x), double(w.y), double(w.width), double(w.height), 1.0 / w.reduction});
        if (index == image_->failOnRead)
            return setLastStatus(kTestFailure, kTestFailureDetail);
        const uint32_t bytes = buffer.getPixelProps().getNumBytesPerSample();
        for (uint16_t b = 0; b < getNumBands(); ++b)
            for (uint32_t row = 0; row < w.height; ++row)
                for (uint32_t col = 0; col < w.width; ++col)
                    StoreSample(buffer.getRow(b, row) + size_t{col} * bytes, getDataType(),
                                image_->sample(b, w.x + col, w.y + row));
        return LT_STS_Success;
    }

private:
    std::shared_ptr<TestImage> image_;
    std::shared_ptr<TestEngineLog> log_;
};

} // namespace

TestEngineScope::TestEngineScope(TestImage image)
    : image_(std::make_shared<TestImage>(std::move(image))),
      log_(std::make_shared<TestEngineLog>()) {
    auto img = image_;
    auto log = log_;
    SetEngineFactory([img, log](ImageSignature) -> std::unique_ptr<LTIImageEngine> {
        return std::make_unique<TestEngine>(img, log);
    });
}

TestEngineScope::~TestEngineScope() { SetEngineFactory(nullptr); }

} // namespace sidtest
