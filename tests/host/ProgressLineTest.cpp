// The progress bar's line: percentage, rate, time left and fitting the terminal width.
#include "TerminalProgress.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using iosid::host::ProgressLine;

TEST(ProgressLine, ShowsProportionRateAndTimeLeft) {
    const std::string longText(200, 'x');
    const struct {
        const char *name;
        std::string text;
        double done, elapsed;
        int columns;
        std::vector<std::string> expected; // pieces the line must hold
    } cases[] = {
        {"quarter",
         "Importing SID file a.sid",
         0.25,
         10.0,
         100,
         {"Importing SID file a.sid [#####...............]  25%", "2.5 %/s", "0:30 left"}},
        {"too early to estimate", "t", 0.5, 0.1, 80, {" 50%", "-- %/s", "-- left"}},
        {"nothing done yet", "t", 0.0, 5.0, 80, {"  0%", "-- left"}},
        {"hours left", "t", 0.01, 100.0, 80, {"  1%", "0.0 %/s", "2:45:00 left"}},
        {"done", "t", 1.0, 8.0, 80, {"[####################] 100%", "12.5 %/s", "0:00 left"}},
        {"long text shortened", longText, 0.5, 4.0, 70, {"xxx... [", "12.5 %/s", "0:04 left"}},
        {"narrow terminal", "Importing", 0.5, 3.0, 20, {}},
        {"no terminal width", "Importing", 0.5, 3.0, 0, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const std::string line = ProgressLine(c.text, c.done, c.elapsed, c.columns);
        EXPECT_LE(line.size(), static_cast<size_t>(c.columns)) << line;
        for (const std::string &piece : c.expected)
            EXPECT_NE(line.find(piece), std::string::npos)
                << "'" << piece << "' in '" << line << "'";
    }
}

} // namespace
