// JPEG blocks through the Windows Imaging Component's JPEG decoder. WIC reads only whole
// interchange streams, so each block's abbreviated stream is spliced behind the image's
// JPEGTables. WIC cannot be told the colour space: libtiff's streams name it by their component
// IDs (which Wine's codec goes by), and an Adobe marker names it too, for decoders that go by
// that and streams whose IDs say nothing (YCbCr converted to RGB, RGB kept as stored).
#include "JpegCodec.h"

#include <windows.h>
#include <wincodec.h>

#include <climits>
#include <cstdio>

namespace engines::geotiff {
namespace {

struct Releaser {
    void operator()(IUnknown *p) const { p->Release(); }
};
template <class T> using Com = std::unique_ptr<T, Releaser>;

std::string Failure(const char *call, HRESULT hr) {
    char text[96];
    std::snprintf(text, sizeof text, "%s failed (HRESULT 0x%08lX)", call,
                  static_cast<unsigned long>(hr));
    return text;
}

// COM for the current thread while the object lives. A thread that already has a
// single-threaded apartment (RPC_E_CHANGED_MODE) serves as well; it is not ours to close.
class ComScope {
public:
    ComScope() : hr_(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~ComScope() {
        if (SUCCEEDED(hr_))
            CoUninitialize();
    }
    ComScope(const ComScope &) = delete;
    ComScope &operator=(const ComScope &) = delete;
    bool Usable() const { return SUCCEEDED(hr_) || hr_ == RPC_E_CHANGED_MODE; }
    HRESULT Result() const { return hr_; }

private:
    HRESULT hr_;
};

constexpr unsigned char kMarker = 0xFF, kSOI = 0xD8, kEOI = 0xD9, kSOS = 0xDA;

bool StartsWithSOI(const unsigned char *p, size_t n) {
    return n >= 2 && p[0] == kMarker && p[1] == kSOI;
}

// Where the tables' EOI marker starts; 0 with `why` when they are not a tables-only stream.
size_t TablesEnd(const std::vector<unsigned char> &t, std::string &why) {
    if (!StartsWithSOI(t.data(), t.size())) {
        why = "JPEGTables is not a JPEG stream";
        return 0;
    }
    size_t pos = 2;
    while (pos + 1 < t.size()) {
        if (t[pos] != kMarker)
            break;
        const unsigned char m = t[pos + 1];
        if (m == kMarker) { // fill byte
            ++pos;
        } else if (m == kEOI) {
            return pos;
        } else if (m == kSOS) {
            why = "JPEGTables holds more than tables";
            return 0;
        } else if ((m >= 0xD0 && m <= 0xD7) || m == 0x01) { // markers without a length
            pos += 2;
        } else {
            if (pos + 3 >= t.size())
                break;
            pos += 2 + (size_t{t[pos + 2]} << 8 | t[pos + 3]);
        }
    }
    why = "JPEGTables ends without an EOI marker";
    return 0;
}

// APP14 "Adobe", version 100, no flags; the transform byte follows: 0 none (RGB), 1 YCbCr.
constexpr unsigned char kAdobe[] = {kMarker, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0,
                                    0,       0};

std::string GuidText(const GUID &g) {
    wchar_t wide[40] = {};
    StringFromGUID2(g, wide, 40);
    std::string text;
    for (const wchar_t *p = wide; *p; ++p)
        text += static_cast<char>(*p);
    return text;
}

int Components(const WICPixelFormatGUID &f) {
    if (f == GUID_WICPixelFormat8bppGray)
        return 1;
    if (f == GUID_WICPixelFormat24bppBGR || f == GUID_WICPixelFormat24bppRGB)
        return 3;
    if (f == GUID_WICPixelFormat32bppCMYK)
        return 4;
    return 0;
}

class WicCodec final : public JpegCodec {
public:
    WicCodec(std::vector<unsigned char> tables, int components, bool ycbcr)
        : tables_(std::move(tables)), components_(components), ycbcr_(ycbcr) {}

    bool Decode(const JpegBlock &block, std::string &why) override {
        if (!Splice(block, why))
            return false;
        if (!Run(block, why)) {
            // WIC has no pixel format for two samples, and reads four only as CMYK.
            if (components_ == 2 || components_ == 4)
                why += " (the Windows JPEG codec may not read " + std::to_string(components_) +
                       "-sample JPEG)";
            return false;
        }
        return true;
    }

private:
    bool Splice(const JpegBlock &block, std::string &why) {
        if (!StartsWithSOI(block.stored, block.storedSize)) {
            why = "Not a JPEG file: no SOI marker";
            return false;
        }
        size_t tablesEnd = 0;
        if (!tables_.empty() && (tablesEnd = TablesEnd(tables_, why)) == 0)
            return false;
        stream_.assign(block.stored, block.stored + 2);
        if (components_ == 3) {
            stream_.insert(stream_.end(), std::begin(kAdobe), std::end(kAdobe));
            stream_.push_back(ycbcr_ ? 1 : 0);
        }
        if (tablesEnd != 0)
            stream_.insert(stream_.end(), tables_.begin() + 2, tables_.begin() + tablesEnd);
        stream_.insert(stream_.end(), block.stored + 2, block.stored + block.storedSize);
        return true;
    }

    bool Run(const JpegBlock &block, std::string &why) {
        const ComScope com; // for a thread other than the one that made the codec
        if (!com.Usable()) {
            why = Failure("CoInitializeEx", com.Result());
            return false;
        }
        if (!ownCom_.Usable()) {
            why = Failure("CoInitializeEx", ownCom_.Result());
            return false;
        }
        HRESULT hr = S_OK;
        if (!factory_) {
            IWICImagingFactory *factory = nullptr;
            hr = CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_PPV_ARGS(&factory));
            if (FAILED(hr)) {
                why = Failure("creating the WIC imaging factory", hr);
                return false;
            }
            factory_.reset(factory);
        }
        IWICStream *rawStream = nullptr;
        if (FAILED(hr = factory_->CreateStream(&rawStream))) {
            why = Failure("IWICImagingFactory::CreateStream", hr);
            return false;
        }
        const Com<IWICStream> stream(rawStream);
        if (stream_.size() > UINT_MAX) {
            why = "a stream of " + std::to_string(stream_.size()) + " bytes";
            return false;
        }
        if (FAILED(hr = stream->InitializeFromMemory(stream_.data(),
                                                     static_cast<DWORD>(stream_.size())))) {
            why = Failure("IWICStream::InitializeFromMemory", hr);
            return false;
        }
        // The JPEG decoder itself, not whichever codec recognises the bytes.
        IWICBitmapDecoder *rawDecoder = nullptr;
        if (FAILED(hr = factory_->CreateDecoder(GUID_ContainerFormatJpeg, nullptr, &rawDecoder))) {
            why = Failure("IWICImagingFactory::CreateDecoder (JPEG)", hr);
            return false;
        }
        const Com<IWICBitmapDecoder> decoder(rawDecoder);
        if (FAILED(hr = decoder->Initialize(stream.get(), WICDecodeMetadataCacheOnDemand))) {
            why = Failure("IWICBitmapDecoder::Initialize", hr);
            return false;
        }
        IWICBitmapFrameDecode *rawFrame = nullptr;
        if (FAILED(hr = decoder->GetFrame(0, &rawFrame))) {
            why = Failure("IWICBitmapDecoder::GetFrame", hr);
            return false;
        }
        const Com<IWICBitmapFrameDecode> frame(rawFrame);
        UINT width = 0, height = 0;
        WICPixelFormatGUID format{};
        if (FAILED(hr = frame->GetSize(&width, &height)) ||
            FAILED(hr = frame->GetPixelFormat(&format))) {
            why = Failure("reading the JPEG frame's size and pixel format", hr);
            return false;
        }
        const int components = Components(format);
        if (components == 0) {
            why = "WIC delivers the stream in pixel format " + GuidText(format) +
                  ", not 8-bit grey, colour or CMYK";
            return false;
        }
        if (width != block.width || height != block.rows || components != components_) {
            why = JpegShapeMismatch(width, height, components, block, components_);
            return false;
        }
        // Four components come as CMYK, which is the samples as stored.
        const WICPixelFormatGUID wanted = components_ == 1   ? GUID_WICPixelFormat8bppGray
                                          : components_ == 3 ? GUID_WICPixelFormat24bppRGB
                                                             : GUID_WICPixelFormat32bppCMYK;
        IWICBitmapSource *source = frame.get();
        Com<IWICFormatConverter> converter;
        if (format != wanted) {
            IWICFormatConverter *rawConverter = nullptr;
            if (FAILED(hr = factory_->CreateFormatConverter(&rawConverter))) {
                why = Failure("IWICImagingFactory::CreateFormatConverter", hr);
                return false;
            }
            converter.reset(rawConverter);
            if (FAILED(hr = converter->Initialize(frame.get(), wanted, WICBitmapDitherTypeNone,
                                                  nullptr, 0.0, WICBitmapPaletteTypeCustom))) {
                why = Failure("IWICFormatConverter::Initialize", hr);
                return false;
            }
            source = converter.get();
        }
        const uint64_t stride = uint64_t{block.width} * static_cast<uint64_t>(components_);
        if (stride * block.rows > UINT_MAX) {
            why = "a block of " + std::to_string(stride * block.rows) + " bytes";
            return false;
        }
        if (FAILED(hr = source->CopyPixels(nullptr, static_cast<UINT>(stride),
                                           static_cast<UINT>(stride * block.rows), block.out))) {
            why = Failure("IWICBitmapSource::CopyPixels", hr);
            return false;
        }
        return true;
    }

    // Keeps COM, and so the factory, alive between blocks on the thread that made the codec.
    ComScope ownCom_;
    std::vector<unsigned char> tables_;
    int components_;
    bool ycbcr_;
    std::vector<unsigned char> stream_;
    Com<IWICImagingFactory> factory_;
};

} // namespace

std::unique_ptr<JpegCodec> MakeJpegCodec(std::vector<unsigned char> tables, int components,
                                         bool ycbcr) {
    return std::make_unique<WicCodec>(std::move(tables), components, ycbcr);
}

} // namespace engines::geotiff
