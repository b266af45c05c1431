// The options dialog answered by the host, for hosts that run scripts rather than users.
#include "SidImportDialog.h"

#include "SidImportFilter.h"

#include <map>

plio::IoManager::DialogAnswer AnswerImportDialogFromHost(SidImportFilter &filter, uint32_t &scale,
                                                         uint32_t &ulx, uint32_t &uly,
                                                         uint32_t &lrx, uint32_t &lry,
                                                         bool &linked) {
    std::map<std::wstring, unsigned int> values = {{L"Scale", scale}, {L"ULX", ulx},
                                                   {L"ULY", uly},     {L"LRX", lrx},
                                                   {L"LRY", lry},     {L"Linked", linked}};
    const auto answer = filter.GetManager().AnswerDialog(L"SID Image Import Options", values);
    if (answer == plio::IoManager::DialogAnswer::Confirmed) {
        scale = values[L"Scale"];
        ulx = values[L"ULX"], uly = values[L"ULY"], lrx = values[L"LRX"], lry = values[L"LRY"];
        linked = values[L"Linked"] != 0;
    }
    return answer;
}
