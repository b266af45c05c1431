// What the test options dialog does when the filter shows it.
#pragma once
#include <cstdint>

namespace plugintest {

struct DialogScript {
    bool confirm = true;
    uint32_t scale = 0; // 0: keep the filter's
    bool region = false;
    uint32_t left = 0, top = 0, right = 0, bottom = 0;
    bool linked = false;
    int shown = 0;
};

DialogScript &Dialog(); // reset it at the start of each case

} // namespace plugintest
