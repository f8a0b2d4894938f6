#include "power/disk_model.h"

#include <utility>

namespace kowen::test {
namespace {

using Names = std::map<std::string, size_t>;
using Files = std::map<size_t, FileState>;

void Change(FileState *file, const DiskCall &call) {
    if (call.kind == DiskCall::kMode)
        file->mode = call.mode;
    if (call.kind == DiskCall::kTruncate)
        file->bytes.resize(call.offset);
    if (call.kind != DiskCall::kWrite)
        return;
    if (file->bytes.size() < call.offset + call.bytes.size())
        file->bytes.resize(call.offset + call.bytes.size());
    file->bytes.replace(call.offset, call.bytes.size(), call.bytes);
}

FileState HalfDone(FileState file, DiskCall call) {
    call.bytes.resize(call.bytes.size() / 2);
    Change(&file, call);
    return file;
}

void Change(Names *names, const DiskCall &call) {
    if (call.kind == DiskCall::kName)
        (*names)[call.name] = call.file;
    if (call.kind == DiskCall::kRemove || call.kind == DiskCall::kRename)
        names->erase(call.name);
    if (call.kind == DiskCall::kRename)
        (*names)[call.newName] = call.file;
}

bool IsOfNames(const DiskCall &call) {
    return call.kind == DiskCall::kName || call.kind == DiskCall::kRename ||
           call.kind == DiskCall::kRemove;
}

// A disk under way: what is safe, and what has been asked for since.
struct Disk {
    Names names;
    std::vector<DiskCall> nameCalls;
    Files files;
    std::map<size_t, std::vector<DiskCall>> fileCalls;

    explicit Disk(const FolderState &before) {
        for (const auto &[name, file] : before) {
            files[files.size() + 1] = file;
            names[name] = files.size();
        }
    }

    void Do(const DiskCall &call) {
        if (IsOfNames(call)) {
            nameCalls.push_back(call);
        } else if (call.kind == DiskCall::kSyncFolder) {
            for (const DiskCall &pending : std::exchange(nameCalls, {}))
                Change(&names, pending);
        } else if (call.kind == DiskCall::kSyncFile) {
            for (const DiskCall &pending : std::exchange(fileCalls[call.file], {}))
                Change(&files[call.file], pending);
        } else {
            fileCalls[call.file].push_back(call);
        }
    }

    // Content and permissions reach the disk one without the other.
    std::set<FileState> StatesOf(size_t file) const {
        const auto safe = files.find(file);
        FileState state = safe == files.end() ? FileState() : safe->second;
        std::set<std::string> contents = {state.bytes};
        std::set<unsigned> modes = {state.mode};
        const auto pending = fileCalls.find(file);
        if (pending != fileCalls.end())
            for (const DiskCall &call : pending->second) {
                contents.insert(HalfDone(state, call).bytes);
                Change(&state, call);
                contents.insert(state.bytes);
                contents.insert(std::string(state.bytes.size(), '\0'));
                modes.insert(state.mode);
            }
        std::set<FileState> states;
        for (const std::string &bytes : contents)
            for (const unsigned mode : modes)
                states.insert({bytes, mode});
        return states;
    }

    std::set<Names> NameStates() const {
        std::set<Names> states;
        for (size_t choice = 0; choice < size_t{1} << nameCalls.size(); ++choice) {
            Names chosen = names;
            for (size_t i = 0; i < nameCalls.size(); ++i)
                if ((choice >> i & 1) != 0)
                    Change(&chosen, nameCalls[i]);
            states.insert(chosen);
        }
        return states;
    }
};

// Every choice of a state for each name's file; a file of two names is the same under both.
void AddStates(const Disk &disk, const Names &names, std::set<FolderState> *states) {
    std::set<size_t> used;
    for (const auto &[name, file] : names)
        used.insert(file);
    std::vector<Files> choices = {{}};
    for (const size_t file : used) {
        std::vector<Files> longer;
        for (const Files &choice : choices)
            for (const FileState &state : disk.StatesOf(file)) {
                longer.push_back(choice);
                longer.back()[file] = state;
            }
        choices = std::move(longer);
    }
    for (const Files &choice : choices) {
        FolderState folder;
        for (const auto &[name, file] : names)
            folder[name] = choice.at(file);
        states->insert(folder);
    }
}

} // namespace

FolderState AfterAll(const FolderState &before, const std::vector<DiskCall> &calls) {
    Disk disk(before);
    for (const DiskCall &call : calls)
        disk.Do(call);
    for (const auto &[file, pending] : disk.fileCalls)
        for (const DiskCall &call : pending)
            Change(&disk.files[file], call);
    for (const DiskCall &call : disk.nameCalls)
        Change(&disk.names, call);
    FolderState folder;
    for (const auto &[name, file] : disk.names)
        folder[name] = disk.files[file];
    return folder;
}

std::set<FolderState> AfterPowerCut(const FolderState &before, const std::vector<DiskCall> &calls) {
    Disk disk(before);
    for (const DiskCall &call : calls)
        disk.Do(call);
    std::set<FolderState> states;
    for (const Names &names : disk.NameStates())
        AddStates(disk, names, &states);
    return states;
}

} // namespace kowen::test
