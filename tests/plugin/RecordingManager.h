// A host that records what a filter does to it: option writes, progress, the dialog it was
// asked to answer, and every hand-over in order. Linked images are left to the end-to-end tests.
#pragma once
#include "gcs/GCSDef.h"
#include "plio/IoManager.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"

#include <map>
#include <memory>
#include <vector>

namespace plugintest {

struct HandOver {
    enum Kind { Image, GeoreferencedCRS, UnreferencedCRS } kind;
    uint32_t width = 0, height = 0, rowBytes = 0, rows = 0; // rows: those the host received
    int32_t colorFormat = 0;
};

class RecordingManager : public plio::IoManager {
public:
    using Options = std::map<std::wstring, unsigned int>;
    Options stored;                                    // what GetOption finds
    std::vector<std::pair<std::wstring, bool>> writes; // names and persist flags
    std::vector<std::wstring> progress;                // "start", messages, "end"
    std::vector<double> proportions;
    std::vector<HandOver> handOvers;
    int receiversDropped = 0; // receivers destroyed without their image being handed over
    DialogAnswer answer = DialogAnswer::Unanswered;
    Options answerValues; // set in the dialog's values when confirming
    int dialogsShown = 0;

    bool GetOption(const std::wstring &name, unsigned int &value, bool) const override {
        const auto it = stored.find(name);
        return it != stored.end() && (value = it->second, true);
    }
    void SetOption(const std::wstring &name, unsigned int value, bool persist) override {
        writes.emplace_back(name, persist);
        stored[name] = value;
    }
    // The last value written for `name` and its persist flag; false when never written.
    bool LastWrite(const std::wstring &name, unsigned int &value, bool &persist) const {
        for (auto it = writes.rbegin(); it != writes.rend(); ++it)
            if (it->first == name)
                return value = stored.at(name), persist = it->second, true;
        return false;
    }
    void ProgressStart(const std::wstring &text, bool, bool) override {
        progress.push_back(L"start" + text);
    }
    void ProgressMessage(const std::wstring &text) override { progress.push_back(text); }
    void ProgressProportion(double done) override { proportions.push_back(done); }
    void ProgressEnd() override { progress.push_back(L"end"); }
    void Log(const std::wstring &) override {}
    DialogAnswer AnswerDialog(const std::wstring &, Options &values) override {
        ++dialogsShown;
        if (answer == DialogAnswer::Confirmed)
            for (const auto &[name, value] : answerValues)
                values[name] = value;
        return answer;
    }

    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &) override {
        rowsReceived_ = 0, imageTaken_ = false;
        return std::make_unique<Receiver>(*this);
    }
    void ImportObject(plio::TrBase &object) override {
        HandOver record{HandOver::Image};
        if (object.IsA(plio::TrCRS::GetClassTypeId())) {
            const gcs::CSDef *cs = static_cast<plio::TrCRS &>(object).GetCS();
            const bool referenced = cs && cs->GetType() == gcs::CSType::Georeferenced;
            record.kind = referenced ? HandOver::GeoreferencedCRS : HandOver::UnreferencedCRS;
        } else if (object.IsA(plio::TrImage::GetClassTypeId())) {
            const auto &image = static_cast<plio::TrImage &>(object);
            const plio::ScanlineLayout &layout = image.GetLayout();
            record.width = layout.width, record.height = layout.height;
            record.rowBytes = uint32_t(layout.rowBytes), record.colorFormat = layout.format;
            if (image.IsComplete())
                imageTaken_ = true, record.rows = rowsReceived_;
        }
        handOvers.push_back(record);
    }

private:
    struct Receiver : plio::ScanlineReceiver {
        explicit Receiver(RecordingManager &m) : manager(m) {}
        ~Receiver() override { manager.receiversDropped += !manager.imageTaken_; }
        void Row(const void *, uint32_t) override { ++manager.rowsReceived_; }
        void End() override {}
        RecordingManager &manager;
    };
    uint32_t rowsReceived_ = 0;
    bool imageTaken_ = false;
};

} // namespace plugintest
