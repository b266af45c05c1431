// The synthetic test engine.
#include "TestEngine.h"

#include "lti/LTIStatus.h"

#include <cstring>

using namespace LizardTech;

namespace sidtest {
namespace {

template <class T> void Store(uint8_t *p, double v) {
    const T t = static_cast<T>(v);
    std::memcpy(p, &t, sizeof t);
}

void StoreSample(uint8_t *p, LTIDataType type, double v) {
    switch (type) {
    case LTI_DATATYPE_UINT8:
        Store<uint8_t>(p, v);
        break;
    case LTI_DATATYPE_SINT8:
        Store<int8_t>(p, v);
        break;
    case LTI_DATATYPE_UINT16:
        Store<uint16_t>(p, v);
        break;
    case LTI_DATATYPE_SINT16:
        Store<int16_t>(p, v);
        break;
    case LTI_DATATYPE_UINT32:
        Store<uint32_t>(p, v);
        break;
    case LTI_DATATYPE_SINT32:
        Store<int32_t>(p, v);
        break;
    case LTI_DATATYPE_FLOAT32:
        Store<float>(p, v);
        break;
    case LTI_DATATYPE_FLOAT64:
        Store<double>(p, v);
        break;
    default:
        break;
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
        if (status == LT_STS_Success && im.hasRange)
            setDynamicRange(im.rangeMin, im.rangeMax);
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
        ++log->engines;
        return std::make_unique<TestEngine>(img, log);
    });
}

TestEngineScope::~TestEngineScope() { SetEngineFactory(nullptr); }

} // namespace sidtest
