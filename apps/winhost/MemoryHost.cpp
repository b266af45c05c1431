// The in-memory host: options, progress, log and the results a filter hands over.
#include "MemoryHost.h"

#include <cstdio>
#include <cstring>

#include "imagelib/CachedBitmap.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"
#include "shr/Strings.h"

namespace winhost {
namespace {

// Collects rows in order; a row out of order or of the wrong size is refused loudly.
class MemoryReceiver : public plio::ScanlineReceiver {
public:
    explicit MemoryReceiver(const plio::ScanlineLayout &layout) : layout_(layout) {
        pixels_.resize(layout.rowBytes * layout.height);
    }
    void Row(const void *data, uint32_t index) override {
        if (index >= layout_.height)
            throw std::out_of_range("row beyond the announced height");
        std::memcpy(pixels_.data() + size_t(index) * layout_.rowBytes, data, layout_.rowBytes);
    }
    void End() override { ended_ = true; }
    std::vector<uint8_t> TakePixels() { return std::move(pixels_); }
    bool Ended() const { return ended_; }

private:
    plio::ScanlineLayout layout_;
    std::vector<uint8_t> pixels_;
    bool ended_ = false;
};

} // namespace

bool MemoryHost::GetOption(const std::wstring &name, unsigned int &value, bool) const {
    const auto found = options_.find(name);
    if (found == options_.end())
        return false;
    value = found->second;
    return true;
}

void MemoryHost::SetOption(const std::wstring &name, unsigned int value, bool) {
    options_[name] = value;
}

void MemoryHost::ProgressStart(const std::wstring &text, bool, bool) {
    lastProportion_ = 0.0;
    if (!text.empty())
        logLines_.push_back(text);
}
void MemoryHost::ProgressMessage(const std::wstring &text) { logLines_.push_back(text); }
void MemoryHost::ProgressProportion(double done) { lastProportion_ = done; }
void MemoryHost::ProgressEnd() {}

void MemoryHost::Log(const std::wstring &line) {
    logLines_.push_back(line);
    std::fprintf(stderr, "%s\n", shr::WtoA(line).c_str());
}

bool MemoryHost::ShowHelp(const std::wstring &topic) {
    helpTopics_.push_back(topic);
    return true;
}

std::unique_ptr<plio::ScanlineReceiver>
MemoryHost::ReceiveScanlines(const plio::ScanlineLayout &layout) {
    return std::make_unique<MemoryReceiver>(layout);
}

void MemoryHost::ImportObject(plio::TrBase &object) {
    if (object.IsA(plio::TrCRS::GetClassTypeId())) {
        ++coordinateSystems_;
        return;
    }
    if (!object.IsA(plio::TrImage::GetClassTypeId()))
        return;
    auto &image = static_cast<plio::TrImage &>(object);
    image_ = ReceivedImage{};
    if (imagelib::CachedBitmap *bitmap = image.GetBitmap()) {
        image_.linked = true;
        image_.linkedWidth = bitmap->GetWidth();
        image_.linkedHeight = bitmap->GetHeight();
        image_.complete = true;
        return;
    }
    image_.layout = image.GetLayout();
    if (auto *receiver = dynamic_cast<MemoryReceiver *>(image.GetReceiver())) {
        image_.complete = image.IsComplete() && receiver->Ended();
        image_.pixels = receiver->TakePixels();
    }
}

} // namespace winhost
