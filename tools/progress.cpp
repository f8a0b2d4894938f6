#include "progress.h"

#include "terminal_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr int kBarCells = 30;
constexpr int kOtherCells = 9; // "[", "] ", "100 %", a space
constexpr int kUsualColumns = 80;
constexpr const char *kBackAndErase = "\r\x1b[K";

int TerminalColumns() {
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return kUsualColumns;
    return size.ws_col;
}

// At most `cells` characters of UTF-8; the end of a long name tells more than its beginning.
std::string Fitted(const std::string &text, int cells) {
    const auto starts = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    auto count = std::count_if(text.begin(), text.end(), starts);
    if (count <= cells)
        return text;
    size_t from = 0;
    for (; from < text.size() && (count > cells - 3 || !starts(text[from])); ++from)
        count -= starts(text[from]) ? 1 : 0;
    return cells > 3 ? "..." + text.substr(from) : "";
}

bool IsDumb() {
    const char *term = std::getenv("TERM");
    return term == nullptr || *term == '\0' || std::strcmp(term, "dumb") == 0;
}

} // namespace

Progress::Progress(bool wanted) {
    if (wanted && isatty(STDERR_FILENO) != 0)
        style = IsDumb() ? Style::kPlain : Style::kBar;
}

void Progress::Show(const std::string &name, const std::string &phase, size_t done,
                    double fraction) {
    if (style == Style::kNone)
        return;
    const double all = (static_cast<double>(done) + std::max(fraction, 0.0)) /
                       static_cast<double>(std::max<size_t>(pictures, 1));
    const int percent = std::min(100, static_cast<int>(all * 100));
    const std::string shown = Printable(name);
    if (style == Style::kPlain)
        return ShowPlain(pictures > 1 ? std::to_string(pictures) + " pictures" : shown, percent);
    std::string text = phase + " " + shown;
    if (pictures > 1)
        text = std::to_string(std::min(done + 1, pictures)) + " of " + std::to_string(pictures) +
               ", " + text;
    ShowBar(text, percent);
}

void Progress::ShowPlain(const std::string &name, int percent) {
    if (!drawn)
        std::fprintf(stderr, "%s:", name.c_str());
    if (named != name)
        tenths = 0;
    drawn = true;
    named = name;
    for (; tenths < percent / 10; ++tenths)
        std::fprintf(stderr, " %d%%", (tenths + 1) * 10);
    std::fflush(stderr);
}

void Progress::ShowBar(const std::string &text, int percent) {
    if (drawn && percent == lastPercent && text == lastText)
        return;
    const int columns = TerminalColumns();
    const int cells = std::clamp(columns / 3, 1, kBarCells);
    const int done = percent * cells / 100;
    const std::string bar = std::string(static_cast<size_t>(done), '#') +
                            std::string(static_cast<size_t>(cells - done), '.');
    std::fprintf(stderr, "%s[%s] %3d %% %s", kBackAndErase, bar.c_str(), percent,
                 Fitted(text, columns - cells - kOtherCells - 1).c_str());
    std::fflush(stderr);
    lastPercent = percent;
    lastText = text;
    drawn = true;
}

void Progress::Clear() {
    if (drawn)
        std::fputs(style == Style::kPlain ? "\n" : kBackAndErase, stderr);
    drawn = false;
}

} // namespace kowen::cli
