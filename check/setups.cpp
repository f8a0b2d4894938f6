#include "setups.h"

#include "blocks.h"
#include "callbacks.h"
#include "decode.h"
#include "lifetime.h"
#include "real_module.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string_view>

namespace kowen::check {

char moduleName[kModuleNameBytes];

namespace {

constexpr size_t kTextBytes = 143;

struct Setup {
    int number;
    HostIoProcedure procedure;
    bool isEmpty; ///< of a section that is missing or has no driver
};

/// Calls that come at the wrong time, from another thread, look here too.
struct Setups {
    std::recursive_mutex mutex;
    std::map<MemoryHandle, Setup> live;
    std::set<MemoryHandle> ended;
    MemoryHandle current = 0;
    int made = 0;
};

Setups &TheSetups() {
    return TheOne<Setups>();
}

using Lock = std::lock_guard<std::recursive_mutex>;

/// Hands the module's name on. A host that names the checking module means the one behind it: the
/// default profile is that one's.
void HandNameOn(const Call &call, bool needed) {
    if (std::memchr(moduleName, 0, kModuleNameBytes) == nullptr) {
        call.Mistake(Rule::kModuleName, "the name has no terminating zero");
        return;
    }
    if (needed && *moduleName == 0)
        call.Mistake(Rule::kModuleName, "it is empty, and no profile was named");
    const std::string_view name = std::strcmp(moduleName, OwnPath()) == 0 ? RealPath() : moduleName;
    std::memset(Real()->name, 0, kModuleNameBytes);
    std::memcpy(Real()->name, name.data(), std::min(name.size(), kModuleNameBytes - 1));
}

void CheckText(const Call &call, const char *what, const char *text) {
    const size_t length = text != nullptr ? std::strlen(text) : 0;
    if (length > kTextBytes)
        call.Mistake(Rule::kSetupText,
                     std::string("the ") + what + " has " + std::to_string(length) + " bytes");
}

/// Whether a setup has zero for every setting, which its getters tell: no other one does.
bool HasNothing(MemoryHandle setup) {
    int32_t quality = 0;
    int32_t mode = 0;
    int32_t resolution[2] = {};
    double size[2] = {};
    const auto get = Real()->escapeSetup;
    get(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0);
    get(setup, KOWEN_ESCAPE_GET_COLOR_MODE, sizeof mode, nullptr, &mode, 0);
    get(setup, KOWEN_ESCAPE_GET_RESOLUTION, 0, nullptr, resolution, 0);
    get(setup, KOWEN_ESCAPE_GET_SIZE, 0, nullptr, size, 0);
    return quality == 0 && mode == 0 && resolution[0] == 0 && size[0] == 0;
}

void Add(MemoryHandle setup) {
    Setups &setups = TheSetups();
    const Lock lock(setups.mutex);
    setups.ended.erase(setup);
    setups.live[setup] = {++setups.made, nullptr, HasNothing(setup)};
    setups.current = setup;
}

void End(MemoryHandle setup) {
    Setups &setups = TheSetups();
    const Lock lock(setups.mutex);
    setups.live.erase(setup);
    setups.ended.insert(setup);
}

} // namespace

std::string DescribeSetup(MemoryHandle setup) {
    Setups &setups = TheSetups();
    const Lock lock(setups.mutex);
    const auto found = setups.live.find(setup);
    if (found != setups.live.end())
        return "setup " + std::to_string(found->second.number);
    if (setup == 0)
        return "0";
    return setups.ended.contains(setup) ? "ended setup" : "unknown handle";
}

bool IsSetup(MemoryHandle setup) {
    const Lock lock(TheSetups().mutex);
    return TheSetups().live.contains(setup);
}

void RequireSetup(Call &call, MemoryHandle setup) {
    Setups &setups = TheSetups();
    const Lock lock(setups.mutex);
    if (setup == 0)
        call.Mistake(Rule::kSetupZero, "the setup's handle is 0");
    else if (IsBlock(setup))
        call.Danger(Rule::kSetupHandle, "the setup's handle is that of " + DescribeBlock(setup) +
                                            ", which is no setup");
    else if (setups.ended.contains(setup))
        call.Danger(Rule::kSetupHandle, "the setup's handle is that of a setup that has ended");
    else if (!setups.live.contains(setup))
        call.Danger(Rule::kSetupHandle, "the setup's handle is unknown");
}

void RequireDriver(const Call &call, MemoryHandle setup) {
    Setups &setups = TheSetups();
    const Lock lock(setups.mutex);
    const auto found = setups.live.find(setup);
    if (found != setups.live.end() && found->second.isEmpty)
        call.Mistake(Rule::kSetupDriver,
                     DescribeSetup(setup) +
                         " was made from a profile without its section, or without Driver there");
}

MemoryHandle CurrentSetup() {
    return TheSetups().current;
}

void MakeCurrent(MemoryHandle setup) {
    TheSetups().current = setup;
}

HostIoProcedure ProcedureOf(MemoryHandle setup) {
    const auto found = TheSetups().live.find(setup);
    return found == TheSetups().live.end() ? nullptr : found->second.procedure;
}

void SetProcedure(MemoryHandle setup, HostIoProcedure procedure) {
    TheSetups().live[setup].procedure = procedure;
}

void ReportSetupsLeft() {
    for (const auto &[handle, setup] : TheSetups().live)
        MistakeOutsideCalls(Rule::kUnload, DescribeSetup(handle) + " was never destroyed");
}

MemoryHandle CheckedCreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                                const char *filterName) {
    Call call("CreateSetup", CallKind::kOther,
              {{"profilePath", DescribeText(profilePath)},
               {"section", DescribeText(section)},
               {"filterName", DescribeText(filterName)}});
    if (!call.Passes())
        return 0;
    CheckText(call, "profile's path", profilePath);
    CheckText(call, "section", section);
    CheckText(call, "filter's name", filterName);
    HandNameOn(call, profilePath == nullptr || *profilePath == 0);
    const MemoryHandle setup = Real()->createSetup(reserved, profilePath, section, filterName);
    if (setup != 0)
        Add(setup);
    call.Tell("setup", DescribeSetup(setup));
    return setup;
}

int32_t CheckedDestroySetup(MemoryHandle setup) {
    Call call("DestroySetup", CallKind::kOther, {{"setup", DescribeSetup(setup)}});
    RequireSetup(call, setup);
    if (call.Passes() && setup != 0 && IsInUse(setup))
        call.Mistake(Rule::kSetupOutlives, DescribeSetup(setup) + " is in use");
    const int32_t result = call.Passes() ? Real()->destroySetup(setup) : 1;
    if (call.Passes() && result == 0)
        End(setup);
    if (call.Passes())
        MakeCurrent(result == 0 ? 0 : setup);
    call.Tell("result", result);
    return result;
}

int32_t CheckedEditSetup(MemoryHandle setup, uint32_t value) {
    Call call("EditSetup", CallKind::kOther, {{"setup", DescribeSetup(setup)}, {"value", value}});
    RequireSetup(call, setup);
    const int32_t result = call.Passes() ? Real()->editSetup(setup, value) : -1;
    if (call.Passes())
        MakeCurrent(setup);
    call.Tell("result", result);
    return result;
}

} // namespace kowen::check
