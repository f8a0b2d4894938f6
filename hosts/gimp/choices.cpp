#include "choices.h"

#include <libgimp/gimp.h>

namespace kowen::gimp {
namespace {

// GIMP keeps a persistent parasite of its own in its folder, from one run to the next.
constexpr char kParasite[] = "kowen-settings";
constexpr char kGroup[] = "settings";
constexpr char kProfileGroup[] = "profile";

struct FreeKeyFile {
    void operator()(GKeyFile *file) const { g_key_file_free(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;

std::string StringAt(GKeyFile *file, const char *group, const char *key) {
    gchar *text = g_key_file_get_string(file, group, key, nullptr);
    const std::string found = text != nullptr ? text : "";
    g_free(text);
    return found;
}

bool Takes(const std::string &name, const std::string &value) {
    const Settings probe(KowenNewSettings());
    return KowenSet(probe.get(), name.c_str(), value.c_str(), nullptr) == KOWEN_HOST_OK;
}

Choices FromKeyFile(GKeyFile *file) {
    Choices choices;
    choices.profile = StringAt(file, kProfileGroup, "path");
    choices.section = StringAt(file, kProfileGroup, "section");
    gchar **keys = g_key_file_get_keys(file, kGroup, nullptr, nullptr);
    for (gchar **key = keys; key != nullptr && *key != nullptr; ++key) {
        const std::string value = StringAt(file, kGroup, *key);
        if (Takes(*key, value))
            choices.values[*key] = value;
    }
    g_strfreev(keys);
    return choices;
}

int32_t AddWord(const std::string &word, Choices *choices, KowenResult *result) {
    const size_t sign = word.find('=');
    if (sign == std::string::npos)
        return FailWith(KOWEN_HOST_ERR_ARGUMENT,
                        "settings are given as name=value, not as '" + word + "'", result);
    const std::string name = word.substr(0, sign), value = word.substr(sign + 1);
    const Settings probe(KowenNewSettings());
    const int32_t code = KowenSet(probe.get(), name.c_str(), value.c_str(), result);
    if (code == KOWEN_HOST_OK)
        choices->values[name] = value;
    return code;
}

} // namespace

KowenResult EmptyResult() {
    KowenResult result = {};
    result.size = sizeof result;
    return result;
}

int32_t FailWith(int32_t code, const std::string &message, KowenResult *result) {
    result->code = code;
    g_strlcpy(result->message, message.c_str(), sizeof result->message);
    return code;
}

Settings SettingsOf(const Choices &choices, KowenResult *result) {
    Settings settings(KowenNewSettings());
    if (!settings) {
        FailWith(KOWEN_HOST_ERR_MEMORY, "not enough memory for the settings", result);
        return nullptr;
    }
    for (const auto &[name, value] : choices.values)
        if (KowenSet(settings.get(), name.c_str(), value.c_str(), result) != KOWEN_HOST_OK)
            return nullptr;
    const char *section = choices.section.empty() ? nullptr : choices.section.c_str();
    if (!choices.profile.empty() &&
        KowenLoadProfile(settings.get(), choices.profile.c_str(), section, result) != KOWEN_HOST_OK)
        return nullptr;
    return settings;
}

std::string ValueOf(const KowenSettings *settings, const char *name) {
    char value[256];
    return KowenGet(settings, name, value, sizeof value) == KOWEN_HOST_OK ? value : "";
}

int32_t AddWords(const char *words, Choices *choices, KowenResult *result) {
    gchar **word = nullptr;
    gint count = 0;
    GError *error = nullptr;
    if (words == nullptr || *words == '\0')
        return KOWEN_HOST_OK;
    if (!g_shell_parse_argv(words, &count, &word, &error)) {
        const std::string reason = std::string("the settings cannot be read: ") + error->message;
        g_error_free(error);
        return FailWith(KOWEN_HOST_ERR_ARGUMENT, reason, result);
    }
    int32_t code = KOWEN_HOST_OK;
    for (gint i = 0; i < count && code == KOWEN_HOST_OK; ++i)
        code = AddWord(word[i], choices, result);
    g_strfreev(word);
    return code;
}

Choices RememberedChoices() {
    GimpParasite *parasite = gimp_get_parasite(kParasite);
    const KeyFile file(g_key_file_new());
    if (parasite != nullptr)
        g_key_file_load_from_data(file.get(), static_cast<const gchar *>(parasite->data),
                                  parasite->size, G_KEY_FILE_NONE, nullptr);
    gimp_parasite_free(parasite);
    return FromKeyFile(file.get());
}

void RememberChoices(const Choices &choices) {
    const KeyFile file(g_key_file_new());
    for (const auto &[name, value] : choices.values)
        g_key_file_set_string(file.get(), kGroup, name.c_str(), value.c_str());
    g_key_file_set_string(file.get(), kProfileGroup, "path", choices.profile.c_str());
    g_key_file_set_string(file.get(), kProfileGroup, "section", choices.section.c_str());
    gsize length = 0;
    gchar *text = g_key_file_to_data(file.get(), &length, nullptr);
    GimpParasite *parasite =
        gimp_parasite_new(kParasite, GIMP_PARASITE_PERSISTENT, static_cast<guint32>(length), text);
    gimp_attach_parasite(parasite);
    gimp_parasite_free(parasite);
    g_free(text);
}

} // namespace kowen::gimp
