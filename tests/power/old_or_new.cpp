#include "power/old_or_new.h"

namespace kowen::test {
namespace {

std::string Shown(const FolderState &folder) {
    std::string text;
    for (const auto &[name, file] : folder)
        text += " " + name + ": " + std::to_string(file.bytes.size()) + " bytes \"" +
                file.bytes.substr(0, 20) + "\", mode " + std::to_string(file.mode) + ";";
    return text.empty() ? " nothing" : text;
}

bool Stands(const FolderState &state, const std::string &name,
            const std::optional<FileState> &file) {
    const auto found = state.find(name);
    return file ? found != state.end() && found->second == *file : found == state.end();
}

std::string WhatIsWrong(const FolderState &before, const FolderState &state,
                        const Replacement &asked, bool onlyNew) {
    const bool isNew = Stands(state, asked.name, asked.after);
    if (!isNew && (onlyNew || !Stands(state, asked.name, asked.before)))
        return onlyNew ? "the new file may not be there" : "neither the old nor the new file";
    for (const auto &[name, file] : before)
        if (name != asked.name && !Stands(state, name, file))
            return name + " has changed";
    for (const auto &[name, file] : state)
        if (before.count(name) == 0 && name != asked.name && !name.starts_with(".kowen-"))
            return name + " is new";
    return "";
}

} // namespace

std::string WhatIsLost(const FolderState &folder, const std::vector<DiskCall> &calls,
                       const Replacement &asked, bool isSafeAtTheEnd) {
    for (size_t count = 0; count <= calls.size(); ++count) {
        const std::vector<DiskCall> done(calls.begin(), calls.begin() + static_cast<long>(count));
        const bool onlyNew = isSafeAtTheEnd && count == calls.size();
        for (const FolderState &state : AfterPowerCut(folder, done))
            if (const std::string wrong = WhatIsWrong(folder, state, asked, onlyNew);
                !wrong.empty())
                return wrong + ", after " + std::to_string(count) + " of " +
                       std::to_string(calls.size()) + " calls:" + Shown(state);
    }
    return "";
}

} // namespace kowen::test
