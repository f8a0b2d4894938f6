// What a host owns, for tests: a setup, an export record with a status callback on a script, and
// an I/O procedure that keeps the file.
#pragma once

#include "kowen/codes.h"
#include "kowen/records.h"
#include "platform/global_memory.h"
#include "setup/setup.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kowen::test {

/// One call of the status callback.
struct StatusCall {
    uintptr_t context;
    int32_t command, code, value1, value2, value3;
    bool operator==(const StatusCall &) const = default;
};

/// The host's export record with a callback that keeps its calls and answers by a script.
class StatusHost {
public:
    static constexpr uintptr_t kContext = 0x1234;

    StatusHost() {
        current = this;
        record.context = kContext;
        record.statusCallback = Callback;
    }
    ~StatusHost() { current = nullptr; }
    StatusHost(const StatusHost &) = delete;
    StatusHost &operator=(const StatusHost &) = delete;

    /// Refuses every call from the n-th on (1 is the first), the confirmation included.
    void CancelFrom(size_t n) {
        answer = [this, n](const StatusCall &) { return calls.size() >= n ? 1 : 0; };
    }

    ExportRecord record = {};
    std::vector<StatusCall> calls;
    std::function<int32_t(const StatusCall &)> answer;

private:
    static int32_t Callback(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                            int32_t value2, int32_t value3, void *) {
        const StatusCall call = {context, command, code, value1, value2, value3};
        current->calls.push_back(call);
        return current->answer ? current->answer(call) : 0;
    }
    static inline StatusHost *current = nullptr;
};

/// A host I/O procedure that keeps what is written, and how it was opened and closed; a file that
/// outlives it closes without an error.
class HostFile {
public:
    HostFile() { current = this; }
    ~HostFile() { current = nullptr; }
    HostFile(const HostFile &) = delete;
    HostFile &operator=(const HostFile &) = delete;

    static intptr_t Procedure(uintptr_t handleOrContext, int32_t operation, void *argument,
                              int32_t count) {
        return current ? current->Serve(handleOrContext, operation, argument, count) : 0;
    }

    bool refuses = false;
    int32_t closeAnswer = 0;
    uintptr_t openContext = 0;
    int32_t openMode = 0;
    std::string openName;
    std::string bytes;
    std::vector<int32_t> closes;        ///< counts of the close operations
    std::vector<std::string> deletions; ///< names

private:
    static constexpr intptr_t kHandle = 77;

    intptr_t Serve(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
        switch (operation) {
        case KOWEN_IO_OPEN:
            openContext = handleOrContext;
            openMode = count;
            openName = static_cast<const char *>(argument);
            return refuses ? 0 : kHandle;
        case KOWEN_IO_WRITE:
            bytes.append(static_cast<const char *>(argument), static_cast<size_t>(count));
            return count;
        case KOWEN_IO_CLOSE:
            closes.push_back(count);
            return closeAnswer;
        case KOWEN_IO_DELETE:
            deletions.push_back(static_cast<const char *>(argument));
            return 1;
        default:
            return -1;
        }
    }
    static inline HostFile *current = nullptr;
};

/// A setup with the built-in settings, made current.
class TestSetup {
public:
    TestSetup() : handle(GlobalAlloc(kGlobalFlags, sizeof(SetupRecord))) {
        hRaster = handle;
        lpRaster = Lock<SetupRecord>(handle);
        UseDefaultSettings(lpRaster);
    }
    ~TestSetup() {
        GlobalFree(handle);
        hRaster = hSetup = 0;
        lpRaster = lpSetup = nullptr;
    }
    TestSetup(const TestSetup &) = delete;
    TestSetup &operator=(const TestSetup &) = delete;

    SetupRecord *operator->() const { return Lock<SetupRecord>(handle); }

    const MemoryHandle handle;
};

} // namespace kowen::test
