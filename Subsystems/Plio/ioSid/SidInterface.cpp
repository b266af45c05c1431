// SidInterface: pipeline set-up, reduction and region, strip decoding and row conversion.
#include "SidInterface.h"

#include "SidObjects.h"

#include "lti/LTIUtils.h"
#include "shr/InternalError.h"
#include "shr/Log.h"
#include "shr/Strings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace LizardTech;

namespace {

constexpr uint32_t kStripBytes = 16777216; // a strip is sized to just exceed 16 MiB
constexpr uint32_t kMaxReportedScale = 16384;
// Deliberately 16834, not 16384: coarser files report this kept value, which is no power of
// two, so a scale clamped to it is refused by SetScale.
constexpr uint32_t kOverflowScale = 16834;

// The source lines these records carry are fixed; log readers match on them.
const wchar_t kSourceFile[] = L"Subsystems/Plio/ioSid/SidInterface";
constexpr int kLineHolderDestructor = 318;
constexpr int kLineReaderDestructor = 359;
constexpr int kLineMissingHolder = 374;

} // namespace

void SidInterface::SdkObjects::Release() {
    if (rangeFilter)
        rangeFilter->release();
    rangeFilter = nullptr;
    if (colorTransformer)
        colorTransformer->release();
    colorTransformer = nullptr;
    if (reader)
        reader->release();
    reader = nullptr;
    delete stream;
    stream = nullptr;
}

SidInterface::SdkObjects::~SdkObjects() {
    try {
        Release();
    } catch (...) {
        shr::LogExceptionInfo(L"ioSid", kSourceFile, kLineHolderDestructor);
    }
}

SidInterface::SidInterface() : objects(std::make_unique<SdkObjects>()) {}

SidInterface::~SidInterface() {
    try {
        Close();
    } catch (...) {
        shr::LogExceptionInfo(L"ioSid", kSourceFile, kLineReaderDestructor);
    }
}

void SidInterface::ReleaseObjects() {
    if (objects)
        objects->Release();
}

void SidInterface::Close() {
    ReleaseObjects();
    stripBuffer.clear();
    stripRows = stripFirstRow = 0;
    outputWidth = outputHeight = 0;
    imageWidth = imageHeight = 0;
    left = top = right = bottom = 0;
    skipColorTransform = false;
}

void SidInterface::AppendStatusText(uint32_t status) {
    const std::wstring text = shr::AtoW(getLastStatusString(status));
    if (!text.empty())
        errorText += L"\nThe MrSID reader reported an error:  " + text;
}

uint32_t SidInterface::BandCount() const {
    return objects && objects->rangeFilter ? objects->rangeFilter->getNumBands() : 0;
}

bool SidInterface::Open(const std::wstring &path) {
    if (!objects)
        shr::ThrowInternalError(L"ioSid", kSourceFile, kLineMissingHolder);
    ReleaseObjects();
    if (!BuildPipeline(path))
        return false;
    SizeStripBuffer();
    stripRows = stripFirstRow = 0;
    scale = 1;
    left = top = 0;
    right = imageWidth - 1;
    bottom = imageHeight - 1;
    outputWidth = imageWidth;
    outputHeight = imageHeight;
    return true;
}

bool SidInterface::BuildPipeline(const std::wstring &path) {
    SdkObjects &sdk = *objects;
    sdk.reader = MrSIDImageReader::create();
    sdk.stream = new SidIO(path, true);
    LT_STATUS status = sdk.reader->initialize(sdk.stream, nullptr, MRSID_MEMORY_USAGE_DEFAULT,
                                              MRSID_STREAM_USAGE_CREATE);
    if (status != LT_STS_Success) {
        errorText = L"Failed opening MrSID file:  " + path;
        AppendStatusText(status);
        return false;
    }
    imageWidth = sdk.reader->getWidth();
    imageHeight = sdk.reader->getHeight();
    const LTIColorSpace colorSpace = sdk.reader->getColorSpace();
    skipColorTransform = colorSpace == LTI_COLORSPACE_RGB || colorSpace == LTI_COLORSPACE_RGBA;
    hasAlpha = LTIUtils::hasAlphaBand(colorSpace);
    const LTIDataType dataType = sdk.reader->getDataType();
    const LTIPixel rgb(LTI_COLORSPACE_RGB, 3, dataType, nullptr);
    const LTIPixel rgba(LTI_COLORSPACE_RGBA, 4, dataType, nullptr);
    sdk.colorTransformer = LTIColorTransformer::create();
    if (sdk.colorTransformer->initialize(sdk.reader, hasAlpha ? rgba : rgb) != LT_STS_Success)
        skipColorTransform = true; // read the image in its own colour space
    sdk.rangeFilter = LTIDynamicRangeFilter::create();
    LTIImageStage *source = skipColorTransform ? static_cast<LTIImageStage *>(sdk.reader)
                                               : static_cast<LTIImageStage *>(sdk.colorTransformer);
    status = sdk.rangeFilter->initialize(source, LTI_DATATYPE_UINT8);
    if (status != LT_STS_Success) {
        errorText = L"Failed creating LTIDynamicRangeFilter object.";
        AppendStatusText(status);
        return false;
    }
    return true;
}

void SidInterface::SizeStripBuffer() {
    const uint32_t bands = BandCount();
    const uint32_t rowBytes = bands * imageWidth;
    uint32_t rows = 1;
    // A zero row size (no bands or no width) would never reach the limit.
    if (rowBytes != 0 && rowBytes <= kStripBytes) {
        do {
            rows *= 2;
        } while (rows * rowBytes <= kStripBytes);
        rows = std::min(rows, kMaxStripRows);
    }
    stripBuffer.resize(size_t{bands} * imageWidth * rows, 0);
}

int32_t SidInterface::GetBitsPerPixel() const {
    switch (format) {
    case kBlackWhite:
        return 1;
    case kGray16:
        return 4;
    case kGray256:
        return 8;
    case kColor24:
        return 24;
    case kColor32:
        return 32;
    default:
        return 0;
    }
}

bool SidInterface::SetFormat(int32_t newFormat) {
    if (newFormat < kBlackWhite || newFormat > kColor32)
        return false;
    format = newFormat;
    return true;
}

void SidInterface::UpdateOutputSize() {
    if (left > right)
        std::swap(left, right);
    if (top > bottom)
        std::swap(top, bottom);
    if (scale == 0) { // only before Open, where there is nothing to read
        outputWidth = outputHeight = 0;
        return;
    }
    outputWidth = static_cast<uint32_t>((double(right) - left + 1.0) / scale);
    outputHeight = static_cast<uint32_t>((double(bottom) - top + 1.0) / scale);
}

uint32_t SidInterface::GetMaxScale() const {
    if (!objects || !objects->rangeFilter)
        return 0;
    const double x = std::fabs(1.0 / objects->rangeFilter->getMinMagnification());
    if (x > 16384.0)
        return kOverflowScale;
    for (uint32_t v = kMaxReportedScale; v >= 2; v /= 2)
        if (std::fabs(x - v) < 0.001)
            return v;
    return 1;
}

bool SidInterface::SetScale(uint32_t newScale) {
    if (newScale == 0)
        return false;
    newScale = std::min(newScale, GetMaxScale());
    if ((newScale & (0u - newScale)) != newScale)
        return false;
    scale = newScale;
    UpdateOutputSize();
    stripRows = 0;
    return true;
}

void SidInterface::SetRegion(uint32_t newLeft, uint32_t newTop, uint32_t newRight,
                             uint32_t newBottom) {
    left = newLeft;
    top = newTop;
    right = std::min(newRight, imageWidth - 1);
    bottom = std::min(newBottom, imageHeight - 1);
    UpdateOutputSize();
    stripRows = 0;
}
