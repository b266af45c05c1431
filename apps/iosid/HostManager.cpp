// HostManager: options, progress, and writing what is handed over.
#include "HostManager.h"

#include "gcs/GCSDef.h"
#include "gcs/UCSDef.h"
#include "imagelib/CachedBitmap.h"
#include "plio/Exception.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"
#include "shr/Strings.h"

#include <cstdio>
#include <stdexcept>
#include <vector>

namespace iosid {
namespace {

constexpr const wchar_t *kSource = L"apps/iosid/HostManager";

host::RowFormat ToRowFormat(shr::ColorFormat format) {
    switch (format) {
    case shr::ColorFormatBilevel:
        return host::RowFormat::Bilevel1;
    case shr::ColorFormatGray4:
        return host::RowFormat::Gray4;
    case shr::ColorFormatGray8:
        return host::RowFormat::Gray8;
    case shr::ColorFormatBgr24:
        return host::RowFormat::Bgr24;
    case shr::ColorFormatBgra32:
        return host::RowFormat::Bgra32;
    case shr::ColorFormatBgrx32:
        return host::RowFormat::Bgrx32;
    default:
        throw std::runtime_error("the image's colour format " + std::to_string(int(format)) +
                                 " is not one this host writes");
    }
}

// A copy made by the host's own code, so it outlives the plug-in that handed it over.
std::unique_ptr<gcs::CSDef> HostCopy(const gcs::CSDef *system) {
    if (!system)
        return nullptr;
    if (system->GetType() == gcs::CSType::Georeferenced)
        return std::make_unique<gcs::GCSDef>(static_cast<const gcs::GCSDef &>(*system));
    auto copy = std::make_unique<gcs::UCSDef>();
    copy->SetWarp(system->GetWarp());
    return copy;
}

} // namespace

class HostManager::Receiver : public plio::ScanlineReceiver {
public:
    Receiver(HostManager &host, std::unique_ptr<host::ImageWriter> writer)
        : host_(host), writer_(std::move(writer)) {}
    ~Receiver() override {
        if (host_.receiver_ == this)
            host_.receiver_ = nullptr;
    }
    void Row(const void *data, uint32_t index) override {
        writer_->WriteRow(index, static_cast<const uint8_t *>(data));
    }
    void End() override { ended_ = true; }
    void Commit() {
        if (!ended_)
            throw std::runtime_error("the image was handed over before its last row");
        writer_->Commit();
    }

private:
    HostManager &host_;
    std::unique_ptr<host::ImageWriter> writer_;
    bool ended_ = false;
};

HostManager::HostManager(host::SettingsStore &settings, bool quiet)
    : settings_(settings), progress_(quiet), quiet_(quiet) {}

HostManager::~HostManager() = default;

std::atomic<bool> &HostManager::CancelRequested() {
    static std::atomic<bool> flag{false};
    return flag;
}

void HostManager::SetOutput(std::string path, host::ImageWriterOptions options) {
    output_ = std::move(path);
    writerOptions_ = options;
}

bool HostManager::GetOption(const std::wstring &name, unsigned int &value, bool persist) const {
    return settings_.Get(shr::WtoA(name), value, persist);
}

void HostManager::SetOption(const std::wstring &name, unsigned int value, bool persist) {
    settings_.Set(shr::WtoA(name), value, persist);
}

void HostManager::ProgressStart(const std::wstring &text, bool, bool) {
    if (!text.empty())
        progress_.Start(shr::WtoA(text));
}

void HostManager::ProgressMessage(const std::wstring &text) { progress_.Start(shr::WtoA(text)); }

void HostManager::CheckCancel() const {
    if (CancelRequested().load())
        throw plio::AbortException(kSource, __LINE__);
}

void HostManager::ProgressProportion(double done) {
    progress_.Proportion(done);
    CheckCancel();
}

void HostManager::ProgressEnd() { progress_.End(); }

void HostManager::Log(const std::wstring &line) {
    if (!quiet_)
        std::fprintf(stderr, "%s\n", shr::WtoA(line).c_str());
}

plio::IoManager::DialogAnswer
HostManager::AnswerDialog(const std::wstring &, std::map<std::wstring, unsigned int> &values) {
    if (!answerLinked_)
        return DialogAnswer::Unanswered;
    values[L"Linked"] = 1;
    return DialogAnswer::Confirmed;
}

std::unique_ptr<host::ImageWriter> HostManager::OpenWriter(uint32_t width, uint32_t height,
                                                           shr::ColorFormat format) {
    if (output_.empty())
        throw std::runtime_error("no output was chosen for the image");
    host::OutputGeoreference georef;
    georef.system = HostCopy(result_.system.get());
    auto writer = host::CreateImageWriter(output_, width, height, ToRowFormat(format), georef,
                                          writerOptions_);
    result_.width = width;
    result_.height = height;
    result_.format = format;
    return writer;
}

std::unique_ptr<plio::ScanlineReceiver>
HostManager::ReceiveScanlines(const plio::ScanlineLayout &layout) {
    auto receiver =
        std::make_unique<Receiver>(*this, OpenWriter(layout.width, layout.height, layout.format));
    receiver_ = receiver.get();
    return receiver;
}

void HostManager::WriteLinked(imagelib::CachedBitmap &bitmap) {
    const uint32_t width = bitmap.GetWidth(), height = bitmap.GetHeight();
    auto writer = OpenWriter(width, height, bitmap.GetColorFormat());
    std::vector<uint8_t> row(shr::RowBytes(bitmap.GetColorFormat(), width));
    for (uint32_t y = 0; y < height; ++y) {
        if (!bitmap.ReadRow(y, row.data()))
            throw plio::Exception(shr::AtoW("Failed reading the linked image: ") +
                                      bitmap.GetErrorText(),
                                  kSource, __LINE__);
        writer->WriteRow(y, row.data());
        progress_.Proportion(double(y + 1) / height);
        CheckCancel();
    }
    writer->Commit();
    result_.linked = true;
}

void HostManager::ImportObject(plio::TrBase &object) {
    if (object.IsA(plio::TrCRS::GetClassTypeId())) {
        result_.system = HostCopy(static_cast<plio::TrCRS &>(object).GetCS());
        return;
    }
    if (!object.IsA(plio::TrImage::GetClassTypeId()))
        throw std::runtime_error("the filter handed over an object this host does not take");
    auto &image = static_cast<plio::TrImage &>(object);
    if (imagelib::CachedBitmap *bitmap = image.GetBitmap()) {
        WriteLinked(*bitmap);
    } else {
        if (!receiver_ || image.GetReceiver() != receiver_ || !image.IsComplete())
            throw std::runtime_error("the filter handed over an image this host did not receive");
        receiver_->Commit();
    }
    result_.written = true;
}

} // namespace iosid
