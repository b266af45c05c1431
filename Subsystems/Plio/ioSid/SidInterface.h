// SidInterface: one reader on one MrSID-family file. It builds the decoding pipeline (reader,
// colour transformer, dynamic range filter), and delivers a region of the image at a
// power-of-two reduction row by row in one of five output formats.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace gcs {
class GCSDef;
}

class SidInterface {
public:
    // Output formats (the reader's `format`).
    enum Format : int32_t {
        kBlackWhite = 1, // 1 bit a pixel, first pixel in the most significant bit
        kGray16 = 2,     // 4 bits a pixel, first pixel in the high nibble
        kGray256 = 3,    // 8 bits a pixel
        kColor24 = 4,    // blue, green, red
        kColor32 = 5,    // blue, green, red, alpha
    };

    SidInterface();
    ~SidInterface(); // closes; never throws
    SidInterface(const SidInterface &) = delete;
    SidInterface &operator=(const SidInterface &) = delete;

    bool Open(const std::wstring &path);
    void Close();

    uint32_t GetWidth() const { return outputWidth; }
    uint32_t GetHeight() const { return outputHeight; }
    int32_t GetBitsPerPixel() const;
    uint32_t GetScale() const { return scale; }
    bool SetScale(uint32_t newScale);
    // Full-resolution pixels, corners inclusive; right and bottom are clamped to the image.
    void SetRegion(uint32_t newLeft, uint32_t newTop, uint32_t newRight, uint32_t newBottom);
    uint32_t GetMaxScale() const;
    int32_t GetFormat() const { return format; }
    bool SetFormat(int32_t newFormat);
    bool HasAlpha() const { return hasAlpha; }
    // Fills `gcsDef` with the file's projected system, its unit and a four-corner warp of the
    // selected region at the scale. Always true.
    bool Georeference(gcs::GCSDef &gcsDef);
    // Writes output row `row` (0 to GetHeight() - 1) into `dest`, which holds a whole output
    // row (up to 4 bytes a pixel). Decodes the strip holding the row when it is not buffered.
    bool ReadScanline(uint32_t row, uint8_t *dest);
    std::wstring GetErrorText() const { return errorText; }

private:
    struct SdkObjects;

    void ReleaseObjects();
    void UpdateOutputSize();
    bool BuildPipeline(const std::wstring &path);
    void SizeStripBuffer();
    bool ReadStrip(uint32_t first);
    void ConvertScanline(uint32_t row, uint8_t *dest) const;
    void AppendStatusText(uint32_t status);
    uint32_t BandCount() const;

    std::wstring errorText;
    uint32_t imageWidth = 0;
    uint32_t imageHeight = 0;
    bool skipColorTransform = false;
    bool hasAlpha = false;
    int32_t format = kColor24;
    uint32_t scale = 1;
    uint32_t left = 0, top = 0, right = 0, bottom = 0;
    uint32_t outputWidth = 0;
    uint32_t outputHeight = 0;
    std::unique_ptr<SdkObjects> objects;
    std::vector<uint8_t> stripBuffer;
    std::vector<uint8_t *> bandPlanes;
    uint32_t stripRows = 0;
    uint32_t stripFirstRow = 0;
};
