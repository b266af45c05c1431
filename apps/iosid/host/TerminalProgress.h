// A one-line progress bar on stderr: proportion, rate and time left.
#pragma once
#include <chrono>
#include <string>

namespace iosid::host {

// The bar's text for `done` (0 to 1) after `elapsedSeconds`, at most `columns` characters:
// "TEXT [#####.....]  42%  3.1 %/s  0:19 left". Rate and time left are "--" until they can be
// estimated.
std::string ProgressLine(const std::string &text, double done, double elapsedSeconds, int columns);

// Silent when quiet or when stderr is not a terminal; otherwise redrawn at most ten times a
// second, and once more at the end.
class TerminalProgress {
public:
    explicit TerminalProgress(bool quiet);

    void Start(const std::string &text);
    void Proportion(double done);
    void End();

private:
    using Clock = std::chrono::steady_clock;
    void Draw(double done);

    bool enabled_;
    bool active_ = false;
    std::string text_;
    Clock::time_point start_;
    Clock::time_point lastDraw_;
    double done_ = 0.0;
};

} // namespace iosid::host
