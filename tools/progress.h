// How far an export is, on the standard error output, when that is a terminal.
#pragma once

#include <cstddef>
#include <string>

namespace kowen::cli {

/// One line that is drawn over, with a bar. On a terminal that cannot go back (TERM=dumb) the
/// tenths are written behind each other; nothing at all when the output is no terminal.
class Progress {
public:
    explicit Progress(bool wanted);

    /// How many pictures there are; the line counts them when there are several.
    void SetPictures(size_t count) { pictures = count; }

    /// Shows what is under way. `done` pictures are finished, and `fraction` of the next one.
    void Show(const std::string &name, const std::string &phase, size_t done, double fraction);

    /// Takes the line away, before something else is printed.
    void Clear();

private:
    enum class Style { kNone, kPlain, kBar };

    void ShowPlain(const std::string &name, int percent);
    void ShowBar(const std::string &text, int percent);

    Style style = Style::kNone;
    size_t pictures = 1;
    bool drawn = false;
    int tenths = 0;       ///< written so far, in the plain style
    std::string named;    ///< the picture they belong to
    std::string lastText; ///< behind the bar
    int lastPercent = -1;
};

} // namespace kowen::cli
