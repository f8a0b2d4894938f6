#include "setting_words.h"

#include "kowen/host.h"

namespace kowen::cli {
namespace {

void ReplaceAll(const std::string &from, const std::string &to, std::string *text) {
    constexpr const char *kNot = "not ";
    for (size_t at = text->find(from); at != std::string::npos; at = text->find(from, at)) {
        if (std::string_view(*text).substr(0, at).ends_with(kNot)) {
            at += from.size();
            continue;
        }
        text->replace(at, from.size(), to);
        at += to.size();
    }
}

} // namespace

std::string InOptions(std::string message) {
    // Options that have no value say it themselves.
    ReplaceAll("set 'progressive' to yes or no", "give --progressive or --sequential", &message);
    ReplaceAll("'progressive' to no", "--sequential", &message);
    ReplaceAll("'as-filter' to yes", "--as-filter", &message);
    for (size_t i = 0; KowenSettingName(i) != nullptr; ++i) {
        const std::string name = KowenSettingName(i);
        ReplaceAll("'" + name + "' to ", "--" + name + " ", &message);
        ReplaceAll("'" + name + "'", "--" + name, &message);
    }
    ReplaceAll("set --", "give --", &message);
    ReplaceAll("give --dpi one", "give --dpi", &message);
    return message;
}

} // namespace kowen::cli
