// That the sweep sees everything: what the built module takes from the C library is known, and what
// can fail of it is wrapped.
#include "module/elf_file.h"
#include "support/module_path.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

// Wrapped by the faults library's link options.
const std::set<std::string> kWrapped = {KOWEN_WRAPPED_FUNCTIONS};

// Cannot fail, or not in a way that a file or a picture could notice; compilers differ in what they
// call.
const std::set<std::string> kHarmless = {"__errno_location",
                                         "bcmp",
                                         "ceil",
                                         "clearerr",
                                         "poll",
                                         "fflush",
                                         "lseek",
                                         "sigaddset",
                                         "sigemptyset",
                                         "sigismember",
                                         "sigpending",
                                         "sigprocmask",
                                         "sigtimedwait",
                                         "fegetenv",
                                         "feholdexcept",
                                         "feof",
                                         "fesetenv",
                                         "fesetround",
                                         "fileno",
                                         "fprintf",
                                         "fputc",
                                         "freelocale",
                                         "getenv",
                                         "memchr",
                                         "memcmp",
                                         "memcpy",
                                         "memmove",
                                         "memset",
                                         "putchar",
                                         "puts",
                                         "setvbuf",
                                         "snprintf",
                                         "stderr",
                                         "stdin",
                                         "stdout",
                                         "strchr",
                                         "strcmp",
                                         "strcpy",
                                         "strcspn",
                                         "strlen",
                                         "strnlen",
                                         "strrchr",
                                         "strtod",
                                         "strtol",
                                         "tolower",
                                         "toupper",
                                         "uselocale",
                                         "vsnprintf",
                                         "__fe_dfl_env" /* FE_DFL_ENV of PowerPC */};

// Compilers that look after buffers call __NAME_chk, which does what NAME does or ends the process.
std::string WithoutItsCheck(const std::string &name) {
    const bool checked = name.starts_with("__") && name.ends_with("_chk");
    return checked ? name.substr(2, name.size() - 6) : name;
}

bool IsOfTheCompiler(const std::string &name) {
    return name.starts_with("_ITM_") || name == "__gmon_start__" || name == "__cxa_finalize" ||
           name == "__stack_chk_fail";
}

TEST(ModuleImports, WhatCanFailIsSwept) {
    int wrapped = 0;
    for (const DynamicSymbol &symbol : ElfFile(kModulePath).DynamicSymbols()) {
        if (symbol.defined || IsOfTheCompiler(symbol.name))
            continue;
        wrapped += kWrapped.count(symbol.name) != 0 ? 1 : 0;
        EXPECT_TRUE(kWrapped.count(symbol.name) + kHarmless.count(WithoutItsCheck(symbol.name)) ==
                    1)
            << symbol.name;
    }
    EXPECT_GE(wrapped, 20);
}

} // namespace
