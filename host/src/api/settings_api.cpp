#include "api/handles.h"
#include "api/outcome.h"
#include "base/failure.h"

#include <cstring>
#include <new>

using namespace kowen::host;

KowenSettings *KowenNewSettings(void) {
    return new (std::nothrow) KowenSettings;
}

KowenSettings *KowenCopySettings(const KowenSettings *settings) {
    KowenSettings *copy = nullptr;
    Call(nullptr, [&](Outcome *) {
        if (settings != nullptr)
            copy = new KowenSettings(*settings);
    });
    return copy;
}

void KowenFreeSettings(KowenSettings *settings) {
    delete settings;
}

int32_t KowenSet(KowenSettings *settings, const char *name, const char *value,
                 KowenResult *result) {
    return Call(result, [&](Outcome *) {
        if (settings == nullptr || name == nullptr || value == nullptr)
            throw BadArgument("there are no settings, no name or no value");
        settings->named.Set(name, value);
    });
}

int32_t KowenCheckSettings(const KowenSettings *settings, KowenResult *result) {
    return Call(result, [&](Outcome *) {
        CheckTogether(settings != nullptr ? settings->named.Values() : ExportSettings());
    });
}

int32_t KowenGet(const KowenSettings *settings, const char *name, char *value, size_t valueSize) {
    return Call(nullptr, [&](Outcome *) {
        if (settings == nullptr || name == nullptr || value == nullptr)
            throw BadArgument("there are no settings, no name or no place for the value");
        const std::string text = settings->named.Get(FindSetting(name));
        if (text.size() >= valueSize)
            throw BadArgument("the value does not fit");
        std::memcpy(value, text.c_str(), text.size() + 1);
    });
}

int32_t KowenIsSet(const KowenSettings *settings, const char *name) {
    int32_t isSet = 0;
    Call(nullptr, [&](Outcome *) {
        if (settings != nullptr && name != nullptr)
            isSet = settings->named.OriginOf(FindSetting(name)) != Origin::kDefault ? 1 : 0;
    });
    return isSet;
}

const char *KowenSettingName(size_t index) {
    return index < kSettingCount ? SettingName(static_cast<SettingId>(index)) : nullptr;
}
