// SidImportFilter: the import options, from option strings and the host's option store.
#include "SidImportFilter.h"

#include <utility>

namespace {

// Bits per pixel in a stored option to the reader's format code. 32 is not mapped: a stored
// 32 loads as 24-bit colour, unlike the same value in an option string.
int32_t StoredBitsToFormat(unsigned int bits) {
    switch (bits) {
    case 1:
        return SidInterface::kBlackWhite;
    case 4:
        return SidInterface::kGray16;
    case 8:
        return SidInterface::kGray256;
    default:
        return SidInterface::kColor24;
    }
}

int32_t StringBitsToFormat(unsigned int bits) {
    return bits == 32 ? SidInterface::kColor32 : StoredBitsToFormat(bits);
}

unsigned int FormatToBits(int32_t format) {
    switch (format) {
    case SidInterface::kBlackWhite:
        return 1;
    case SidInterface::kGray16:
        return 4;
    case SidInterface::kGray256:
        return 8;
    case SidInterface::kColor32:
        return 32;
    default:
        return 24;
    }
}

} // namespace

void SidImportFilter::ResetOptions() {
    scale = 1;
    ulx = uly = lrx = lry = 0;
    maxDim = 4294967295u;
    format = SidInterface::kColor24;
    linked = false;
    if (imageWidth != 0 && imageHeight != 0) {
        lrx = imageWidth - 1;
        lry = imageHeight - 1;
    }
}

void SidImportFilter::LoadOptions(bool persist) {
    const plio::IoManager &store = GetManager();
    store.GetOption(L"Scale", scale, persist);
    store.GetOption(L"MaxDim", maxDim, persist);
    unsigned int bits = 24;
    if (store.GetOption(L"Format", bits, persist))
        format = StoredBitsToFormat(bits);
    store.GetOption(L"ULX", ulx, persist);
    store.GetOption(L"ULY", uly, persist);
    store.GetOption(L"LRX", lrx, persist);
    store.GetOption(L"LRY", lry, persist);
    if (imageWidth != 0 && imageHeight != 0) {
        if (ulx >= imageWidth)
            ulx = imageWidth - 1;
        if (lrx >= imageWidth)
            lrx = imageWidth - 1;
        if (lry >= imageHeight)
            lry = imageHeight - 1;
        if (uly >= imageHeight)
            uly = imageHeight - 1;
        if (ulx == 0 && uly == 0 && lrx == 0 && lry == 0) { // unset: the whole image
            lrx = imageWidth - 1;
            lry = imageHeight - 1;
        }
    }
    if (lrx < ulx)
        std::swap(ulx, lrx);
    if (lry < uly)
        std::swap(uly, lry);
}

void SidImportFilter::SaveOptions(bool persist) {
    plio::IoManager &store = GetManager();
    store.SetOption(L"Scale", scale, persist);
    store.SetOption(L"Format", FormatToBits(format), persist);
    if (ulx != lrx && uly != lry) { // a one-pixel-wide or -high region is not kept
        store.SetOption(L"ULX", ulx, false);
        store.SetOption(L"ULY", uly, false);
        store.SetOption(L"LRX", lrx, false);
        store.SetOption(L"LRY", lry, false);
    }
}

void SidImportFilter::SetOptions(const std::wstring &optionString) {
    const plio::IoManager &manager = GetManager();
    bool defaults = false, forget = false;
    manager.GetStringOption(optionString, L"Defaults", defaults);
    manager.GetStringOption(optionString, L"ForgetOptions", forget);
    if (!defaults)
        LoadOptions(true);
    else
        ResetOptions();
    manager.GetStringOption(optionString, L"Scale", scale);
    manager.GetStringOption(optionString, L"MaxDim", maxDim);
    unsigned int bits = 24;
    if (manager.GetStringOption(optionString, L"Format", bits))
        format = StringBitsToFormat(bits);
    manager.GetStringOption(optionString, L"ULX", ulx);
    manager.GetStringOption(optionString, L"ULY", uly);
    manager.GetStringOption(optionString, L"LRX", lrx);
    manager.GetStringOption(optionString, L"LRY", lry);
    SaveOptions(!forget);
}
