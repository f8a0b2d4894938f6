// The profile that carries an export's settings into the module: some have no other way in.
#pragma once

#include "base/descriptor.h"
#include "settings/values.h"

#include <string>

namespace kowen::host {

/// A profile of one section, in memory where the system can do that, else in a private file that
/// goes at the end of its life.
class SetupProfile {
public:
    static constexpr const char *kSection = "host";

    explicit SetupProfile(const FilterSettings &settings);
    ~SetupProfile();
    SetupProfile(const SetupProfile &) = delete;
    SetupProfile &operator=(const SetupProfile &) = delete;

    /// A name under which the module finds it.
    const std::string &Path() const { return path; }

private:
    void UseMemory();
    void UseFile();

    Descriptor file;
    std::string path;
    bool named = false; ///< it has a name to be removed
};

} // namespace kowen::host
