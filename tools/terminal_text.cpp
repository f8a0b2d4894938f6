#include "terminal_text.h"

#include <cstdio>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr unsigned char kSecondPage = 0xC2; // begins U+0080 to U+00BF in UTF-8

bool IsControl(unsigned char c) {
    return c < ' ' || c == 0x7F;
}

bool IsControlOfSecondPage(const std::string &text, size_t at) {
    return static_cast<unsigned char>(text[at]) == kSecondPage && at + 1 < text.size() &&
           static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

} // namespace

std::string Printable(std::string text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsControl(static_cast<unsigned char>(text[i])))
            text[i] = '?';
        else if (IsControlOfSecondPage(text, i))
            text.replace(i, 2, "?");
    }
    return text;
}

std::string TextFor(int stream, const std::string &text) {
    return isatty(stream) != 0 ? Printable(text) : text;
}

void PrintError(const std::string &text) {
    std::fprintf(stderr, "kowen: %s\n", TextFor(STDERR_FILENO, text).c_str());
}

} // namespace kowen::cli
