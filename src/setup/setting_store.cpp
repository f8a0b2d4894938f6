#include "setup/setting_store.h"

#include "profile/profile_file.h"
#include "setup/identity.h"

#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <locale.h>

namespace kowen {

namespace {

// A size is read at most so long; what follows is cut.
constexpr int32_t kInchesBytes = 30;

class KeyName {
public:
    explicit KeyName(StringId id) { LoadString(hDLLModule, id, text_, kStringBytes); }
    const char *Text() const { return text_; }

private:
    char text_[kStringBytes];
};

// A profile is read by hosts of any language, so its numbers have a decimal point. The host's own
// locale is back at the end of the scope.
class PlainNumbers {
public:
    PlainNumbers() noexcept : plain_(newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (plain_)
            before_ = uselocale(plain_);
    }
    ~PlainNumbers() {
        if (!plain_)
            return;
        uselocale(before_);
        freelocale(plain_);
    }
    PlainNumbers(const PlainNumbers &) = delete;
    PlainNumbers &operator=(const PlainNumbers &) = delete;

private:
    locale_t plain_;
    locale_t before_ = nullptr;
};

} // namespace

int32_t ReadSettingText(const SetupRecord &setup, StringId key, const char *defaultText,
                        char *buffer, int32_t size) noexcept {
    return GetPrivateProfileString(setup.section, KeyName(key).Text(), defaultText, buffer, size,
                                   setup.profilePath);
}

int32_t ReadSettingInt(const SetupRecord &setup, StringId key, int32_t defaultValue) noexcept {
    return GetPrivateProfileInt(setup.section, KeyName(key).Text(), defaultValue,
                                setup.profilePath);
}

double ReadSettingInches(const SetupRecord &setup, StringId key, const char *defaultText) noexcept {
    char text[kInchesBytes + 1] = {};
    ReadSettingText(setup, key, defaultText, text, kInchesBytes);
    const PlainNumbers numbers;
    return std::atof(text);
}

void WriteSetting(const SetupRecord &setup, StringId key, const char *format, ...) noexcept {
    char text[kStringBytes];
    {
        const PlainNumbers numbers;
        std::va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
    }
    WritePrivateProfileString(setup.section, KeyName(key).Text(), text, setup.profilePath);
}

} // namespace kowen
