// SidImportFilter::GetFileInfo: the five-row table of a file, from a short-lived reader.
#include "SidImportFilter.h"

plio::ImportFileInfo SidImportFilter::GetFileInfo(bool, const std::wstring &file) {
    plio::ImportFileInfo info;
    SidInterface reader;
    if (!reader.Open(std::wstring(file)))
        return info;
    const int width = static_cast<int>(reader.GetWidth());
    const int height = static_cast<int>(reader.GetHeight());
    // The reader's output depth: a fresh reader is set to 24-bit colour, so every file that
    // opens reports 24 and "RGB".
    const int bits = reader.GetBitsPerPixel();
    reader.Close();
    info.Add(L"File Format", L"LizardTech MrSID Image");
    info.insert({L"Image Width", boost::any(width)});
    info.insert({L"Image Height", boost::any(height)});
    info.insert({L"Image Bits Per Pixel", boost::any(bits)});
    const wchar_t *color = bits == 8 ? L"grayscale" : bits == 24 ? L"RGB" : L"Unknown";
    info.insert({L"Color Format", boost::any(std::wstring(color))});
    return info;
}
