// The options dialog in builds without its window: a host that runs without a user interface
// answers it; otherwise an interactive import is refused with a message.
#include "SidImportDialog.h"

#include "SidImportFilter.h"

bool RunImportDialog(SidImportFilter &filter, uint32_t &scale, uint32_t &ulx, uint32_t &uly,
                     uint32_t &lrx, uint32_t &lry, bool &linked) {
    using Answer = plio::IoManager::DialogAnswer;
    switch (AnswerImportDialogFromHost(filter, scale, ulx, uly, lrx, lry, linked)) {
    case Answer::Confirmed:
        return true;
    case Answer::Cancelled:
        return false;
    case Answer::Unanswered:
        break;
    }
    filter.ThrowError(L"Subsystems/Plio/ioSid/SidImportDialog", __LINE__,
                      L"The import options dialog exists in the Windows build only; "
                      L"import without it and give the options instead.");
}
