#include "command_line.h"

#include "command_options.h"
#include "failure.h"
#include "help_texts.h"
#include "nearest_word.h"
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace kowen::cli {
namespace {

using Words = std::vector<std::string>;

bool IsOption(const std::string &word) {
    return word.size() > 1 && word[0] == '-';
}

Words CommandNames(const CLI::App &app) {
    Words names;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        names.push_back(command->get_name());
    return names;
}

// Long and short options, with their dashes.
Words OptionNames(const CLI::App &command) {
    Words names;
    for (const CLI::Option *option : command.get_options()) {
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string &name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

// "kowen help setup set" asks what "kowen setup set --help" does.
void RearrangeHelp(Words *words) {
    if (words->empty() || words->front() != "help")
        return;
    words->erase(words->begin());
    words->push_back("--help");
}

std::string SeeHelp(const std::string &command) {
    return "Try 'kowen " + (command.empty() ? "" : command + " ") + "--help'.";
}

// A word that stands where a command must.
void CheckCommand(const CLI::App &app, const Words &words, size_t at, const std::string &path) {
    if (words.size() <= at || IsOption(words[at]))
        return;
    const std::string &word = words[at];
    const Words names = CommandNames(app);
    const bool known = std::find(names.begin(), names.end(), word) != names.end();
    if (known && word == "setup" && at == 0)
        CheckCommand(*app.get_subcommand(word), words, 1, word);
    if (known)
        return;
    std::string advice = Suggestion(word, names);
    std::error_code ignored;
    if (advice.empty() && at == 0 && std::filesystem::exists(word, ignored))
        advice = "; to save a picture as a JPEG: kowen export " + word;
    throw UsageFailure("there is no command '" + word + "'" + advice, SeeHelp(path));
}

// The command that was being parsed: the innermost one, and its words.
const CLI::App *Innermost(const CLI::App &app, std::string *path) {
    const CLI::App *at = &app;
    for (auto inner = at->get_subcommands(); !inner.empty(); inner = at->get_subcommands()) {
        at = inner.front();
        *path += (path->empty() ? "" : " ") + at->get_name();
    }
    return at;
}

[[noreturn]] void ThrowUnknown(const CLI::App &command, const std::string &path,
                               const std::string &advice) {
    const Words rest = command.remaining();
    const std::string word = rest.empty() ? "" : rest.front();
    const std::string name = word.substr(0, word.find('='));
    if (IsOption(name))
        throw UsageFailure("there is no option " + name +
                               (advice.empty() ? Suggestion(name, OptionNames(command)) : advice),
                           SeeHelp(path));
    throw UsageFailure("'" + word + "' is one word too many", SeeHelp(path));
}

// A picture whose name looks like options.
std::string DashAdvice(const Words &words) {
    std::error_code ignored;
    for (const std::string &word : words) {
        if (word == "--")
            break;
        if (IsOption(word) && std::filesystem::exists(word, ignored))
            return "; if " + word + " is meant as a file, write ./" + word;
    }
    return "";
}

void Parse(CLI::App *app, const Words &words) {
    try {
        app->parse(Words(words.rbegin(), words.rend()));
    } catch (const CLI::Success &asked) {
        std::ostringstream text;
        app->exit(asked, text, text);
        PrintText(text.str());
    } catch (const CLI::ExtrasError &) {
        std::string path;
        ThrowUnknown(*Innermost(*app, &path), path, DashAdvice(words));
    } catch (const CLI::ParseError &error) {
        std::string path;
        Innermost(*app, &path);
        throw UsageFailure(error.what() + DashAdvice(words), SeeHelp(path));
    }
}

} // namespace

int RunCommandLine(Words arguments) {
    CLI::App app("Saves pictures as JPEG files through the kowen export filter.", "kowen");
    app.footer(kExitNotes);
    app.set_version_flag("-V,--version", "kowen " KOWEN_VERSION);
    app.require_subcommand(1);
    AllOptions options;
    int status = kExitOk;
    RearrangeHelp(&arguments);
    if (arguments.empty())
        throw UsageFailure("there is no command; to save a picture as a JPEG: kowen export PICTURE",
                           SeeHelp(""));
    AddCommands(&app, arguments, &options, &status);
    CheckCommand(app, arguments, 0, "");
    Parse(&app, arguments);
    return status;
}

} // namespace kowen::cli
