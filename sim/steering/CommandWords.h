// The words of a command, taken one after the other.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "com/com.h"

namespace Korvex::Simulation {

// Throws CommandError where a word is missing or is not what it should be.
class CommandWords {
public:
    explicit CommandWords(std::string_view text) noexcept : rest_(text) {}

    bool isEmpty() const noexcept { return rest_.empty(); }
    std::string_view word();
    // "IOPCServer::QueryInterface (IID_IOPCBrowse)" is one method.
    std::string_view method();
    // Decimal, or hexadecimal after "0x".
    std::uint64_t number(std::uint64_t maximum = std::numeric_limits<std::uint32_t>::max());
    HRESULT code() { return hresult(static_cast<std::uint32_t>(number())); }
    // Everything that is left.
    std::string_view remainder() noexcept;
    // Nothing may be left.
    void end() const;

private:
    std::string_view rest_;
};

}  // namespace Korvex::Simulation
