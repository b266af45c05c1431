// MemoryHost: a host for the Windows test programs. Options live in memory, results are kept
// for inspection, and nothing is shown but the plug-in's own dialog.
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plio/IoManager.h"

namespace winhost {

// The last image a filter handed over.
struct ReceivedImage {
    plio::ScanlineLayout layout;
    std::vector<uint8_t> pixels; // rows of layout.rowBytes, top row first
    bool complete = false;
    bool linked = false; // a cached bitmap of the whole file instead of rows
    uint32_t linkedWidth = 0, linkedHeight = 0;
};

class MemoryHost : public plio::IoManager {
public:
    bool GetOption(const std::wstring &name, unsigned int &value, bool persist) const override;
    void SetOption(const std::wstring &name, unsigned int value, bool persist) override;
    void ProgressStart(const std::wstring &text, bool showCancel, bool modal) override;
    void ProgressMessage(const std::wstring &text) override;
    void ProgressProportion(double done) override;
    void ProgressEnd() override;
    void Log(const std::wstring &line) override;
    void *GetHostWindow() const override { return hostWindow_; }
    bool ShowHelp(const std::wstring &topic) override;
    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &layout) override;
    void ImportObject(plio::TrBase &object) override;

    void SetHostWindow(void *window) { hostWindow_ = window; }
    const ReceivedImage &GetImage() const { return image_; }
    int GetCoordinateSystemCount() const { return coordinateSystems_; }
    const std::vector<std::wstring> &GetHelpTopics() const { return helpTopics_; }
    const std::vector<std::wstring> &GetLogLines() const { return logLines_; }
    double GetLastProportion() const { return lastProportion_; }

private:
    std::map<std::wstring, unsigned int> options_;
    void *hostWindow_ = nullptr;
    ReceivedImage image_;
    int coordinateSystems_ = 0;
    std::vector<std::wstring> helpTopics_;
    std::vector<std::wstring> logLines_;
    double lastProportion_ = 0.0;
};

} // namespace winhost
