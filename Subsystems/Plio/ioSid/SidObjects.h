// The decode pipeline objects one SidInterface owns (private to the reader's sources).
#pragma once
#include "SidIO.h"
#include "SidInterface.h"

#include "lti/LTIColorTransformer.h"
#include "lti/LTIDynamicRangeFilter.h"
#include "lti/MrSIDImageReader.h"

// A strip holds at most this many output rows.
constexpr uint32_t kMaxStripRows = 512;

struct SidInterface::SdkObjects {
    LizardTech::MrSIDImageReader *reader = nullptr;
    LizardTech::LTIColorTransformer *colorTransformer = nullptr;
    LizardTech::LTIDynamicRangeFilter *rangeFilter = nullptr; // the stage that is read
    SidIO *stream = nullptr;

    SdkObjects() = default;
    SdkObjects(const SdkObjects &) = delete;
    SdkObjects &operator=(const SdkObjects &) = delete;
    ~SdkObjects(); // releases; logs and swallows failures

    // Gives the pipeline back from its last stage to its stream; every pointer ends null.
    void Release();
};
