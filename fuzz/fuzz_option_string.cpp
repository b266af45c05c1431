// libFuzzer target: option strings through a filter's SetOptions. Any input must end with the
// options set and saved (or left as they were), never a crash or a hang.
#include "SidImportFilter.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace {

class Store : public plio::IoManager {
public:
    std::map<std::wstring, unsigned int> values;
    bool GetOption(const std::wstring &name, unsigned int &value, bool) const override {
        const auto it = values.find(name);
        return it != values.end() && ((value = it->second), true);
    }
    void SetOption(const std::wstring &name, unsigned int value, bool) override {
        values[name] = value;
    }
    void ProgressStart(const std::wstring &, bool, bool) override {}
    void ProgressMessage(const std::wstring &) override {}
    void ProgressProportion(double) override {}
    void ProgressEnd() override {}
    void Log(const std::wstring &) override {}
    std::unique_ptr<plio::ScanlineReceiver>
    ReceiveScanlines(const plio::ScanlineLayout &) override {
        return nullptr;
    }
    void ImportObject(plio::TrBase &) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::wstring text;
    for (size_t i = 0; i < size; ++i)
        text.push_back(static_cast<wchar_t>(data[i]));
    Store store;
    SidImportFilter filter(store);
    filter.SetImageSize(size % 7, size % 5);
    filter.SetOptions(text);
    if (store.values.count(L"Scale") != 1 || store.values.count(L"Format") != 1)
        __builtin_trap(); // SetOptions always saves the scale and format
    return 0;
}
