// HostManager: the iosid host behind plio::IoManager. Options live in the settings store,
// progress goes to the terminal, and what the filter hands over is written to one output file
// as it arrives.
#pragma once
#include "ImageWriter.h"
#include "SettingsStore.h"
#include "TerminalProgress.h"

#include "plio/IoManager.h"
#include "shr/ColorFormat.h"

#include <atomic>
#include <memory>
#include <string>

namespace imagelib {
class CachedBitmap;
}

namespace iosid {

class HostManager : public plio::IoManager {
public:
    HostManager(host::SettingsStore &settings, bool quiet);
    ~HostManager() override;

    // Where an imported image goes. Without an output the host refuses images.
    void SetOutput(std::string path, host::ImageWriterOptions options);
    // Answer the filter's options dialog by ticking its linked switch (no user interface here).
    void AnswerDialogLinked(bool linked) { answerLinked_ = linked; }
    // Set from a signal handler: the next progress report cancels the import.
    static std::atomic<bool> &CancelRequested();

    bool GetOption(const std::wstring &name, unsigned int &value, bool persist) const override;
    void SetOption(const std::wstring &name, unsigned int value, bool persist) override;
    void ProgressStart(const std::wstring &text, bool showCancel, bool modal) override;
    void ProgressMessage(const std::wstring &text) override;
    void ProgressProportion(double done) override;
    void ProgressEnd() override;
    void Log(const std::wstring &line) override;
    DialogAnswer AnswerDialog(const std::wstring &dialog,
                              std::map<std::wstring, unsigned int> &values) override;
    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &layout) override;
    void ImportObject(plio::TrBase &object) override;

    // What arrived.
    struct Result {
        bool written = false;
        bool linked = false;
        uint32_t width = 0, height = 0;
        shr::ColorFormat format = shr::ColorFormatInvalid;
        std::unique_ptr<gcs::CSDef> system; // the host's own copy
    };
    const Result &GetResult() const { return result_; }

    class Receiver; // writes rows as they arrive; the file is committed on hand-over

private:
    std::unique_ptr<host::ImageWriter> OpenWriter(uint32_t width, uint32_t height,
                                                  shr::ColorFormat format);
    void WriteLinked(imagelib::CachedBitmap &bitmap);
    void CheckCancel() const;

    host::SettingsStore &settings_;
    host::TerminalProgress progress_;
    bool quiet_;
    bool answerLinked_ = false;
    std::string output_;
    host::ImageWriterOptions writerOptions_;
    Receiver *receiver_ = nullptr; // the receiver of the image being produced
    Result result_;
};

} // namespace iosid
