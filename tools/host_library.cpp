#include "host_library.h"

#include "failure.h"
#include "setting_words.h"

#include <cstdio>
#include <new>

namespace kowen::cli {
namespace {

constexpr size_t kLongestValue = 4096;

const char *OrNull(const std::string &text) {
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

KowenResult NewResult() {
    KowenResult result = {};
    result.size = sizeof result;
    return result;
}

void ThrowResult(const KowenResult &result, SettingWords words) {
    const std::string message =
        words == SettingWords::kOptions ? InOptions(result.message) : result.message;
    if (result.code == KOWEN_HOST_ERR_ARGUMENT)
        throw UsageFailure(message);
    throw Failure(message);
}

Settings::Settings(SettingWords howCalled) : handle(KowenNewSettings()), words(howCalled) {
    if (!handle)
        throw std::bad_alloc();
}

void Settings::Set(const std::string &name, const std::string &value) {
    KowenResult result = NewResult();
    if (KowenSet(handle.get(), name.c_str(), value.c_str(), &result) != KOWEN_HOST_OK)
        ThrowResult(result, words);
}

std::string Settings::Get(const std::string &name) const {
    char value[kLongestValue] = "";
    KowenGet(handle.get(), name.c_str(), value, sizeof value);
    return value;
}

bool Settings::IsSet(const std::string &name) const {
    return KowenIsSet(handle.get(), name.c_str()) != 0;
}

std::string Settings::LoadProfile(const std::string &path, const std::string &section) {
    KowenResult result = NewResult();
    if (KowenLoadProfile(handle.get(), path.c_str(), OrNull(section), &result) != KOWEN_HOST_OK)
        ThrowResult(result, words);
    return result.profileSection;
}

void Settings::SaveProfile(const std::string &path, const std::string &section) const {
    KowenResult result = NewResult();
    if (KowenSaveProfile(handle.get(), path.c_str(), OrNull(section), &result) != KOWEN_HOST_OK)
        ThrowResult(result, words);
}

void Settings::Check() const {
    KowenResult result = NewResult();
    if (KowenCheckSettings(handle.get(), &result) != KOWEN_HOST_OK)
        ThrowResult(result, words);
}

void Settings::CheckSaveProfile(const std::string &path, const std::string &section) const {
    KowenResult result = NewResult();
    if (KowenCheckSaveProfile(handle.get(), path.c_str(), OrNull(section), &result) !=
        KOWEN_HOST_OK)
        ThrowResult(result, words);
}

Settings Settings::Copy() const {
    Pointer copy(KowenCopySettings(handle.get()));
    if (!copy)
        throw std::bad_alloc();
    return {std::move(copy), words};
}

std::string FileNameOf(const std::string &modulePath) {
    return modulePath.find('/') == std::string::npos ? "./" + modulePath : modulePath;
}

Module::Module(const std::string &path) {
    KowenResult result = NewResult();
    handle.reset(KowenOpenModule(OrNull(path), &result));
    if (!handle)
        ThrowResult(result);
}

std::string Module::Version() const {
    const uint32_t version = KowenModuleVersion(handle.get());
    char text[48];
    std::snprintf(text, sizeof text, "%u.%u.%u", version >> 24, version >> 16 & 0xFF,
                  version & 0xFFFF);
    return text;
}

} // namespace kowen::cli
