// The options dialog for filter tests: answers as the running test scripted it.
#include "ScriptedDialog.h"

#include "SidImportDialog.h"

namespace plugintest {

DialogScript &Dialog() {
    static DialogScript script;
    return script;
}

} // namespace plugintest

bool RunImportDialog(SidImportFilter &, uint32_t &scale, uint32_t &ulx, uint32_t &uly,
                     uint32_t &lrx, uint32_t &lry, bool &linked) {
    plugintest::DialogScript &script = plugintest::Dialog();
    ++script.shown;
    if (!script.confirm)
        return false;
    if (script.scale)
        scale = script.scale;
    if (script.region) {
        ulx = script.left, uly = script.top, lrx = script.right, lry = script.bottom;
    }
    linked = script.linked;
    return true;
}
