// Environment variables of tests.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

#include "com/platform.h"

namespace Korvex::Testing {

// An environment variable, or that there is none, for the time of a test.
class Variable {
public:
    Variable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const auto before = Com::environmentVariable(name)) before_ = toUtf8(*before);
        set(value);
    }
    ~Variable() { set(before_); }

private:
    void set(const std::optional<std::string>& value) const {
        if (value)
            ::setenv(name_, value->c_str(), 1);
        else
            ::unsetenv(name_);
    }

    const char* const name_;
    std::optional<std::string> before_;
};

}  // namespace Korvex::Testing
