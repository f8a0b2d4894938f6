// One line on the terminal that says what is going on.
#pragma once

#include <string>

namespace kowen::host {

class Progress {
public:
    /// shown  false keeps it silent; it is silent anyway unless standard error is a terminal.
    explicit Progress(bool shown);
    ~Progress() { Clear(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// percent  0 to 100.
    void Show(const std::string &phase, int percent);

    /// Takes the line away, so that other messages start on a clean one.
    void Clear();

private:
    bool visible;
    bool drawn = false;
};

} // namespace kowen::host
