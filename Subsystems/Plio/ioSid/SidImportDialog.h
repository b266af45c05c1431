// The import options dialog as the import driver calls it: it edits the scale, the region and
// the linked switch, and returns true when the user confirms.
#pragma once
#include <cstdint>

#include "plio/IoManager.h"

class SidImportFilter;

// A host without a user interface may answer the dialog itself (Confirmed or Cancelled, with
// the values); Unanswered leaves it to the user. The values change only when confirmed.
plio::IoManager::DialogAnswer AnswerImportDialogFromHost(SidImportFilter &filter, uint32_t &scale,
                                                         uint32_t &ulx, uint32_t &uly,
                                                         uint32_t &lrx, uint32_t &lry,
                                                         bool &linked);

bool RunImportDialog(SidImportFilter &filter, uint32_t &scale, uint32_t &ulx, uint32_t &uly,
                     uint32_t &lrx, uint32_t &lry, bool &linked);
