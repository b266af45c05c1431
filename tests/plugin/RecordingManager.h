// A host that records what a filter does to it: option reads and writes, progress, and every
// hand-over in order (rows included), for tests of the filter through its manager.
#pragma once
#include "plio/IoManager.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace plugintest {

struct OptionWrite {
    std::wstring name;
    unsigned int value;
    bool persist;
};

struct HandOver {
    enum Kind { Image, LinkedImage, GeoreferencedCRS, UnreferencedCRS } kind;
    uint32_t width = 0, height = 0;
    int32_t colorFormat = 0;
    std::vector<uint8_t> firstRow; // images: row 0 (linked images: read from the bitmap)
    uint32_t rows = 0;             // images: rows the host received
};

class RecordingManager : public plio::IoManager {
public:
    std::map<std::wstring, unsigned int> stored; // what GetOption finds
    std::vector<OptionWrite> writes;
    std::vector<std::wstring> progress; // "start", messages, "end"
    std::vector<double> proportions;
    std::vector<HandOver> handOvers;
    int receiversDropped = 0; // receivers destroyed without their image being handed over

    bool GetOption(const std::wstring &name, unsigned int &value, bool persist) const override;
    void SetOption(const std::wstring &name, unsigned int value, bool persist) override;
    void ProgressStart(const std::wstring &text, bool showCancel, bool modal) override;
    void ProgressMessage(const std::wstring &text) override { progress.push_back(text); }
    void ProgressProportion(double done) override { proportions.push_back(done); }
    void ProgressEnd() override { progress.push_back(L"end"); }
    void Log(const std::wstring &) override {}
    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &layout) override;
    void ImportObject(plio::TrBase &object) override;

    // The last value written for `name`, and whether it was persisted; false when never written.
    bool LastWrite(const std::wstring &name, unsigned int &value, bool &persist) const;

    struct Received { // shared with the receivers this manager made
        std::vector<uint8_t> firstRow;
        uint32_t rows = 0;
        bool handedOver = false;
    };
    std::shared_ptr<Received> current;
};

} // namespace plugintest
