// A synthetic decode engine for reader tests: computed pixels, a log of every scene it was
// asked for, and failures on request. Installed for every reader while a TestEngineScope lives.
#pragma once
#include "lti/LTIImageEngine.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace sidtest {

struct TestImage {
    uint32_t width = 100;
    uint32_t height = 600;
    LizardTech::LTIColorSpace colorSpace = LizardTech::LTI_COLORSPACE_RGB;
    uint16_t bands = 3;
    LizardTech::LTIDataType dataType = LizardTech::LTI_DATATYPE_UINT8; // or UINT16
    double minMag = 1.0 / 64;
    std::vector<std::pair<double, double>> bandRanges; // band b declares bandRanges[b]
    // Sample of `band` at pixel (x, y) of the scene's magnification.
    std::function<double(uint16_t band, uint32_t x, uint32_t y)> sample =
        [](uint16_t band, uint32_t x, uint32_t y) { return double((band * 50 + x + y) % 256); };
    std::vector<LizardTech::LTIMetadataRecord> records; // the image's metadata, in order
    LizardTech::LTIGeoCoord geo;                        // pixel space unless set
    int failOnRead = -1; // 0-based index of the read that fails; -1 never
    bool failInitialize = false;
};

struct SceneRecord {
    double x, y, width, height, mag;
};

struct TestEngineLog {
    std::vector<SceneRecord> scenes;
};

class TestEngineScope {
public:
    explicit TestEngineScope(TestImage image);
    ~TestEngineScope(); // restores the built-in engine choice
    TestEngineScope(const TestEngineScope &) = delete;
    TestEngineScope &operator=(const TestEngineScope &) = delete;
    TestImage &image() { return *image_; }
    TestEngineLog &log() { return *log_; }

private:
    std::shared_ptr<TestImage> image_;
    std::shared_ptr<TestEngineLog> log_;
};

// Status the test engine fails with, and its detail text.
constexpr LizardTech::LT_STATUS kTestFailure = LizardTech::LTI_STS_DecodeFailed;
constexpr const char *kTestFailureDetail = "test engine failure";

} // namespace sidtest
