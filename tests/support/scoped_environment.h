// Sets or clears one environment variable; the end of its life brings the old value back.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

class ScopedEnvironment {
public:
    /// value null: the variable is not set.
    ScopedEnvironment(const char *variable, const char *value) : name(variable) {
        if (const char *old = std::getenv(variable))
            before = old;
        Set(value);
    }
    ~ScopedEnvironment() { Set(before ? before->c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment &) = delete;
    ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

private:
    void Set(const char *value) const {
        if (value == nullptr)
            unsetenv(name.c_str());
        else
            setenv(name.c_str(), value, 1);
    }

    std::string name;
    std::optional<std::string> before;
};
