#include "host/setup_values.h"

#include "host/error.h"

namespace kowen::host {
namespace {

// Inputs of the escapes, which are not the codes of the settings.
constexpr int32_t kColourModeOffset = 2; // setting code = input + 2

struct InputOf {
    int32_t code;
    int32_t input;
};

constexpr InputOf kFormatInputs[] = {{KOWEN_FORMAT_GREY, KOWEN_ESCAPE_FORMAT_GREY},
                                     {KOWEN_FORMAT_RGB444, KOWEN_ESCAPE_FORMAT_RGB444},
                                     {KOWEN_FORMAT_YCC422, KOWEN_ESCAPE_FORMAT_YCC422}};

int32_t FormatInput(int32_t format) {
    for (const InputOf &entry : kFormatInputs) {
        if (entry.code == format)
            return entry.input;
    }
    return format;
}

// Modes count from 0 in the order of their codes.
int32_t SizeModeInput(int32_t mode) {
    return mode - KOWEN_SIZE_FROM_DISPLAY;
}
int32_t ResolutionModeInput(int32_t mode) {
    return mode - KOWEN_RESOLUTION_FROM_DISPLAY;
}
int32_t QualityModeInput(int32_t mode) {
    return mode - KOWEN_QUALITY_FIXED;
}

void Insist(bool taken, const char *what) {
    if (!taken)
        throw UsageError(std::string("the module does not take this ") + what);
}

void SetResolution(const Setup &setup, const ResolutionChoice &choice, bool persist) {
    setup.Set(KOWEN_ESCAPE_SET_RESOLUTION_MODE, ResolutionModeInput(choice.mode));
    if (choice.mode != KOWEN_RESOLUTION_USER)
        return;
    Insist(setup.Set(KOWEN_ESCAPE_SET_X_RESOLUTION, choice.x, persist), "resolution");
    Insist(setup.Set(KOWEN_ESCAPE_SET_Y_RESOLUTION, choice.y, persist), "resolution");
}

void SetSize(const Setup &setup, const SizeChoice &choice, bool persist) {
    if (choice.box.pixels)
        return;
    setup.Set(KOWEN_ESCAPE_SET_SIZE_MODE, SizeModeInput(choice.mode));
    if (choice.mode != KOWEN_SIZE_USER)
        return;
    Insist(setup.Set(KOWEN_ESCAPE_SET_WIDTH, choice.box.width, persist), "width");
    Insist(setup.Set(KOWEN_ESCAPE_SET_HEIGHT, choice.box.height, persist), "height");
}

// A box in pixels becomes inches at the resolution that the section will have.
SizeChoice InInches(const SizeChoice &size, const Settings &settings) {
    if (!size.box.pixels)
        return size;
    if (!settings.UserResolution())
        throw UsageError("a size in pixels can be kept only together with a resolution: add dpi, "
                         "or give the size in inches or centimetres");
    SizeChoice inches = size;
    inches.box = {size.box.width / settings.xDpi, size.box.height / settings.yDpi, false};
    if (!(inches.box.width >= KOWEN_MIN_INCHES && inches.box.width <= KOWEN_MAX_INCHES) ||
        !(inches.box.height >= KOWEN_MIN_INCHES && inches.box.height <= KOWEN_MAX_INCHES))
        throw UsageError("a size is kept in inches, from 0.03125 to 22; this one is " +
                         InchesText(inches.box.width) + " x " + InchesText(inches.box.height));
    return inches;
}

// What the module itself would not write, or not so that it could read it back.
void KeepByHand(const Choices &choices, const std::string &section, ProfileText *profile) {
    const auto set = [&](const char *name, int32_t value) {
        profile->Set(section, name, std::to_string(value));
    };
    if (choices.operation)
        set(key::kOperation, *choices.operation);
    if (choices.lineMode)
        set(key::kLineMode, *choices.lineMode);
    if (choices.quality)
        set(key::kQualityMode, choices.quality->mode);
    if (choices.resolution)
        set(key::kResolutionMode, choices.resolution->mode);
    if (choices.size)
        set(key::kSizeMode, choices.size->mode);
    if (choices.size && choices.size->mode == KOWEN_SIZE_USER) {
        // The module writes a width that loads as another, and a height of three digits.
        profile->Set(section, key::kWidth, InchesText(choices.size->box.width));
        profile->Set(section, key::kHeight, InchesText(choices.size->box.height));
    }
}

// What the module writes for the choices, in a profile of its own.
ProfileText WrittenByModule(const FilterModule &module, const Choices &choices) {
    ProfileText empty;
    empty.Set(PrivateProfile::kSection, key::kDriver, key::kDriverValue);
    const PrivateProfile profile(empty);
    const Setup setup(module, profile.Path(), PrivateProfile::kSection);
    SetChoices(setup, choices, true);
    return profile.Read();
}

} // namespace

void SetChoices(const Setup &setup, const Choices &choices, bool persist) {
    if (choices.colourMode)
        Insist(setup.Set(KOWEN_ESCAPE_SET_COLOR_MODE, *choices.colourMode - kColourModeOffset,
                         persist),
               "colour mode");
    if (choices.colourFormat)
        Insist(
            setup.Set(KOWEN_ESCAPE_SET_COLOR_FORMAT, FormatInput(*choices.colourFormat), persist),
            "colour format");
    if (choices.quality) {
        setup.Set(KOWEN_ESCAPE_SET_QUALITY_MODE, QualityModeInput(choices.quality->mode));
        Insist(setup.Set(KOWEN_ESCAPE_SET_QUALITY, choices.quality->quality, persist), "quality");
    }
    if (choices.resolution)
        SetResolution(setup, *choices.resolution, persist);
    if (choices.size)
        SetSize(setup, *choices.size, persist);
}

void SetPlan(const Setup &setup, const CellPlan &plan) {
    if (plan.sizeFromCell)
        setup.Set(KOWEN_ESCAPE_SET_SIZE_MODE, SizeModeInput(KOWEN_SIZE_FROM_PICTURE));
    if (plan.resolutionChoice)
        SetResolution(setup, *plan.resolutionChoice, false);
    if (plan.sizeChoice)
        SetSize(setup, *plan.sizeChoice, false);
}

void KeepChoices(const FilterModule &module, const Choices &choices, const std::string &section,
                 ProfileText *profile) {
    ProfileText fresh = *profile;
    if (fresh.Value(section, key::kDriver).value_or("").empty()) {
        // A new section gets every setting: for missing keys the module has other defaults than
        // for a missing profile.
        if (fresh.Has(section))
            fresh.Set(section, key::kDriver, key::kDriverValue);
        else
            WriteSettings(Settings(), section, &fresh);
    }
    Choices kept = choices;
    if (kept.size)
        kept.size = InInches(*kept.size, Apply(ReadSettings(fresh, section), choices));
    const ProfileText written = WrittenByModule(module, kept);
    for (const char *name : {key::kColourMode, key::kColourFormat, key::kXResolution,
                             key::kYResolution, key::kQuality}) {
        if (const auto value = written.Value(PrivateProfile::kSection, name))
            fresh.Set(section, name, *value);
    }
    KeepByHand(kept, section, &fresh);
    *profile = fresh;
}

} // namespace kowen::host
