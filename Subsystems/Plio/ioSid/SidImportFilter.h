// SidImportFilter: the import filter for MrSID-family files. It answers the host's questions
// about files, keeps the import options, and imports a region at a reduction (or the whole file
// linked as a cached bitmap), handing the host the coordinate system and then the image.
#pragma once
#include "SidInterface.h"

#include "plio/IoImportFilter.h"
#include "shr/ColorFormat.h"

#include <cstdint>
#include <string>

namespace plio {
class CProgress;
class TrImage;
} // namespace plio

class SidImportFilter : public plio::IoImportFilter {
public:
    explicit SidImportFilter(plio::IoManager &manager);
    ~SidImportFilter() override;

    void SetOptions(const std::wstring &optionString) override;
    bool CanProduce(const shr::CTypeInfo *type) const override;
    bool CanImportFile(const std::wstring &path) override;
    plio::ImportFileInfo GetFileInfo(bool first, const std::wstring &path) override;
    void Import(const std::wstring &path, bool interactive) override;

    void ResetOptions();
    void LoadOptions(bool persist);
    void SaveOptions(bool persist);

    // What the options dialog and tests read.
    const std::wstring &GetPath() const { return path; }
    uint32_t GetImageWidth() const { return imageWidth; }
    uint32_t GetImageHeight() const { return imageHeight; }
    uint32_t GetBitsPerPixel() const { return bitsPerPixel; }
    shr::ColorFormat GetColorFormat() const { return colorFormat; }
    uint32_t GetMaxDim() const { return maxDim; }
    uint32_t GetScale() const { return scale; }
    int32_t GetFormat() const { return format; }
    uint32_t GetMaxScale() const { return maxScale; }
    bool IsLinked() const { return linked; }
    void GetRegion(uint32_t &left, uint32_t &top, uint32_t &right, uint32_t &bottom) const {
        left = ulx, top = uly, right = lrx, bottom = lry;
    }
    // The image size the region is fitted to (what Import learns from its probe).
    void SetImageSize(uint32_t width, uint32_t height) { imageWidth = width, imageHeight = height; }

private:
    void HandOverCoordinateSystem(SidInterface &reader);
    void ReadRows(SidInterface &reader, plio::TrImage &image, plio::CProgress &progress);
    [[noreturn]] void ThrowWithDetails(int line, const wchar_t *format,
                                       const std::wstring &details) const;

    SidInterface idleReader;
    std::wstring path;
    uint32_t imageWidth = 0;
    uint32_t imageHeight = 0;
    uint32_t bitsPerPixel = 0;
    shr::ColorFormat colorFormat = shr::ColorFormatBgr24;
    uint32_t maxDim = 4294967295u;
    uint32_t scale = 1;
    int32_t format = SidInterface::kColor24;
    uint32_t maxScale = 1;
    bool linked = false;
    uint32_t ulx = 0, uly = 0, lrx = 0, lry = 0;
};
