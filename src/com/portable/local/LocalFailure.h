// Why a program on this machine cannot be reached: COM's code, and a sentence for people.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include "com/com.h"

namespace Korvex::Com {

class LocalFailure : public std::runtime_error {
public:
    LocalFailure(HRESULT code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}

    HRESULT code() const noexcept { return code_; }

private:
    const HRESULT code_;
};

// The sentence ends with the system's message for `error`.
inline LocalFailure systemFailure(HRESULT code, const std::string& what, int error = errno) {
    return LocalFailure(code, what + ": " + std::generic_category().message(error));
}

}  // namespace Korvex::Com
