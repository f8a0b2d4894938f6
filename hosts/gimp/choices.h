// What the user chose for an export: settings by the host library's names, and a profile.
#pragma once

#include <kowen/host.h>

#include <map>
#include <memory>
#include <string>

namespace kowen::gimp {

/// The values are texts as the library takes them; a setting that is not here has the profile's
/// value, or the library's default.
struct Choices {
    std::map<std::string, std::string> values;
    std::string profile; ///< path of a settings profile, or empty
    std::string section; ///< of the profile; empty: the one that the profile names
};

struct FreeSettings {
    void operator()(KowenSettings *settings) const { KowenFreeSettings(settings); }
};
using Settings = std::unique_ptr<KowenSettings, FreeSettings>;

/// A result record that is ready for a call.
KowenResult EmptyResult();

/// The settings that the choices make; null with the reason in the result.
Settings SettingsOf(const Choices &choices, KowenResult *result);

/// A setting's value in words; empty when there is no such setting.
std::string ValueOf(const KowenSettings *settings, const char *name);

/// Adds choices from words like `quality=85 dpi="300x150"`. Returns 0, or a code of the library
/// with the reason in the result.
int32_t AddWords(const char *words, Choices *choices, KowenResult *result);

/// The choices of the last export from the window, in this run of GIMP or an earlier one. What this
/// version of the library does not take is left out.
Choices RememberedChoices();
void RememberChoices(const Choices &choices);

/// Fills a result with a failure that the plug-in found itself.
int32_t FailWith(int32_t code, const std::string &message, KowenResult *result);

} // namespace kowen::gimp
