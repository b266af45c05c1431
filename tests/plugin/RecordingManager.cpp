// RecordingManager.
#include "RecordingManager.h"

#include "gcs/GCSDef.h"
#include "imagelib/CachedBitmap.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"

#include <cstring>

namespace plugintest {
namespace {

class Receiver : public plio::ScanlineReceiver {
public:
    Receiver(RecordingManager &manager, std::shared_ptr<RecordingManager::Received> received,
             size_t rowBytes)
        : manager_(manager), received_(std::move(received)), rowBytes_(rowBytes) {}
    ~Receiver() override {
        if (!received_->handedOver)
            ++manager_.receiversDropped;
    }
    void Row(const void *data, uint32_t index) override {
        if (index == 0)
            received_->firstRow.assign(static_cast<const uint8_t *>(data),
                                       static_cast<const uint8_t *>(data) + rowBytes_);
        ++received_->rows;
    }
    void End() override {}

private:
    RecordingManager &manager_;
    std::shared_ptr<RecordingManager::Received> received_;
    size_t rowBytes_;
};

} // namespace

bool RecordingManager::GetOption(const std::wstring &name, unsigned int &value, bool) const {
    const auto it = stored.find(name);
    if (it == stored.end())
        return false;
    value = it->second;
    return true;
}

void RecordingManager::SetOption(const std::wstring &name, unsigned int value, bool persist) {
    writes.push_back({name, value, persist});
    stored[name] = value;
}

void RecordingManager::ProgressStart(const std::wstring &text, bool, bool) {
    progress.push_back(L"start" + text);
}

bool RecordingManager::LastWrite(const std::wstring &name, unsigned int &value,
                                 bool &persist) const {
    for (auto it = writes.rbegin(); it != writes.rend(); ++it)
        if (it->name == name) {
            value = it->value;
            persist = it->persist;
            return true;
        }
    return false;
}

std::unique_ptr<plio::ScanlineReceiver>
RecordingManager::ReceiveScanlines(const plio::ScanlineLayout &layout) {
    current = std::make_shared<Received>();
    return std::make_unique<Receiver>(*this, current, layout.rowBytes);
}

void RecordingManager::ImportObject(plio::TrBase &object) {
    HandOver record{};
    if (object.IsA(plio::TrCRS::GetClassTypeId())) {
        const gcs::CSDef *cs = static_cast<plio::TrCRS &>(object).GetCS();
        const bool referenced = cs && cs->GetType() == gcs::CSType::Georeferenced;
        record.kind = referenced ? HandOver::GeoreferencedCRS : HandOver::UnreferencedCRS;
    } else if (object.IsA(plio::TrImage::GetClassTypeId())) {
        const auto &image = static_cast<plio::TrImage &>(object);
        const plio::ScanlineLayout &layout = image.GetLayout();
        record.width = layout.width;
        record.height = layout.height;
        record.colorFormat = layout.format;
        if (imagelib::CachedBitmap *bitmap = image.GetBitmap()) {
            record.kind = HandOver::LinkedImage;
            record.firstRow.resize(layout.rowBytes);
            if (!bitmap->ReadRow(0, record.firstRow.data()))
                record.firstRow.clear();
        } else {
            record.kind = HandOver::Image;
            if (current && image.IsComplete()) {
                current->handedOver = true;
                record.firstRow = current->firstRow;
                record.rows = current->rows;
            }
        }
    }
    handOvers.push_back(record);
}

} // namespace plugintest
