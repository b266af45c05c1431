// Terminal progress bar: the line's layout is ProgressLine; this class decides when to draw.
#include "TerminalProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace iosid::host {
namespace {

constexpr auto kRedrawInterval = std::chrono::milliseconds(100);
constexpr int kDefaultColumns = 80;
constexpr int kBarWidth = 20;
// Too early to say how fast: the first moments are dominated by opening the file.
constexpr double kMinimumEstimateSeconds = 0.5;

bool StderrIsTerminal() {
#ifdef _WIN32
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

int TerminalColumns() {
#ifdef _WIN32
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info))
        return info.srWindow.Right - info.srWindow.Left + 1;
#else
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
#endif
    return kDefaultColumns;
}

std::string Duration(double seconds) {
    const long total = std::lround(seconds);
    char text[32];
    if (total >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60,
                      total % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", total / 60, total % 60);
    return text;
}

} // namespace

std::string ProgressLine(const std::string &text, double done, double elapsedSeconds, int columns) {
    if (columns <= 0)
        return "";
    if (!(done >= 0.0)) // also NaN
        done = 0.0;
    done = std::min(done, 1.0);
    const int filled = static_cast<int>(done * kBarWidth);
    char tail[96];
    const double percent = done * 100.0;
    if (elapsedSeconds >= kMinimumEstimateSeconds && done > 0.0) {
        const double rate = percent / elapsedSeconds;
        const double left = elapsedSeconds * (1.0 - done) / done;
        std::snprintf(tail, sizeof tail, " [%s%s] %3d%%  %.1f %%/s  %s left",
                      std::string(filled, '#').c_str(),
                      std::string(kBarWidth - filled, '.').c_str(), static_cast<int>(percent), rate,
                      Duration(left).c_str());
    } else {
        std::snprintf(tail, sizeof tail, " [%s%s] %3d%%  -- %%/s  -- left",
                      std::string(filled, '#').c_str(),
                      std::string(kBarWidth - filled, '.').c_str(), static_cast<int>(percent));
    }
    const std::string rest = tail;
    // The text gives way first; the numbers are what the line is for.
    const size_t room =
        columns > static_cast<int>(rest.size()) ? static_cast<size_t>(columns) - rest.size() : 0;
    std::string head = text;
    if (head.size() > room)
        head = room > 3 ? head.substr(0, room - 3) + "..." : std::string();
    std::string line = head + rest;
    if (line.size() > static_cast<size_t>(columns))
        line.resize(static_cast<size_t>(columns));
    return line;
}

TerminalProgress::TerminalProgress(bool quiet) : enabled_(!quiet && StderrIsTerminal()) {}

void TerminalProgress::Start(const std::string &text) {
    text_ = text;
    start_ = Clock::now();
    lastDraw_ = start_;
    done_ = 0.0;
    active_ = true;
    Draw(0.0);
}

void TerminalProgress::Proportion(double done) {
    if (!active_)
        return;
    done_ = done;
    if (Clock::now() - lastDraw_ >= kRedrawInterval)
        Draw(done);
}

void TerminalProgress::End() {
    if (!active_)
        return;
    Draw(done_);
    if (enabled_)
        std::fputc('\n', stderr);
    active_ = false;
}

void TerminalProgress::Draw(double done) {
    lastDraw_ = Clock::now();
    if (!enabled_)
        return;
    const double elapsed = std::chrono::duration<double>(lastDraw_ - start_).count();
    // The last column stays free: writing into it wraps on some terminals.
    const int columns = TerminalColumns() - 1;
    const std::string line = ProgressLine(text_, done, elapsed, columns);
    // Padding clears what a longer line left behind; not every console knows escape codes.
    std::fprintf(stderr, "\r%-*s", columns, line.c_str());
    std::fflush(stderr);
}

} // namespace iosid::host
