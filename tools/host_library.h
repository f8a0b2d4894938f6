// The host library's handles, owned, and its failures as exceptions.
#pragma once

#include "kowen/host.h"

#include <memory>
#include <string>

namespace kowen::cli {

/// A result record, ready to be filled.
KowenResult NewResult();

/// How messages call settings: by the library's names, or as the options of the command line.
enum class SettingWords { kNames, kOptions };

/// Throws what a result says: UsageFailure for an argument, else Failure.
[[noreturn]] void ThrowResult(const KowenResult &result, SettingWords words = SettingWords::kNames);

/// Settings of exports, by the names of KowenSet.
class Settings {
public:
    explicit Settings(SettingWords howCalled = SettingWords::kNames);

    /// Throws UsageFailure that says what would do.
    void Set(const std::string &name, const std::string &value);

    /// The value as Set takes it.
    std::string Get(const std::string &name) const;

    bool IsSet(const std::string &name) const;

    /// Takes what a profile's section says of the settings that Set has not given.
    /// section  empty = the one that the profile names. Returns the section's name.
    std::string LoadProfile(const std::string &path, const std::string &section);

    /// Throws UsageFailure for settings that no picture can be exported with.
    void Check() const;

    /// Throws what SaveProfile would throw, but for what the writing itself may meet.
    void CheckSaveProfile(const std::string &path, const std::string &section) const;

    /// Keeps what Set has given in a profile's section.
    void SaveProfile(const std::string &path, const std::string &section) const;

    Settings Copy() const;

    const KowenSettings *Handle() const { return handle.get(); }

private:
    struct Free {
        void operator()(KowenSettings *settings) const { KowenFreeSettings(settings); }
    };
    using Pointer = std::unique_ptr<KowenSettings, Free>;

    Settings(Pointer settings, SettingWords howCalled)
        : handle(std::move(settings)), words(howCalled) {}

    Pointer handle;
    SettingWords words; ///< of failures
};

/// A module's path as the dynamic loader takes it: a name alone would be searched for elsewhere.
std::string FileNameOf(const std::string &modulePath);

/// The loaded filter.
class Module {
public:
    /// path  empty = where the library looks for it. Throws Failure.
    explicit Module(const std::string &path);

    KowenModule *Handle() const { return handle.get(); }
    std::string Path() const { return KowenModulePath(handle.get()); }

    /// "2.0.5"
    std::string Version() const;

private:
    struct Close {
        void operator()(KowenModule *module) const { KowenCloseModule(module); }
    };
    std::unique_ptr<KowenModule, Close> handle;
};

} // namespace kowen::cli
