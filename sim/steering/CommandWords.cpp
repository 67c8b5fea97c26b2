#include "sim/steering/CommandWords.h"

#include <charconv>
#include <string>
#include <utility>

#include "sim/steering/commands.h"

namespace Korvex::Simulation {

std::string_view CommandWords::word() {
    if (rest_.empty()) throw CommandError("a word is missing");
    const std::size_t blank = rest_.find(' ');
    const std::string_view first = rest_.substr(0, blank);
    rest_.remove_prefix(blank == std::string_view::npos ? rest_.size() : blank + 1);
    return first;
}

std::string_view CommandWords::method() {
    const std::string_view before = rest_;
    const std::string_view name = word();
    if (name.find("::") == std::string_view::npos) throw CommandError(std::string("not a method: ").append(name));
    if (!rest_.starts_with('(')) return name;
    const std::string_view about = word();
    return before.substr(0, name.size() + 1 + about.size());
}

std::uint64_t CommandWords::number(std::uint64_t maximum) {
    const std::string_view text = word();
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != digits.data() + digits.size() || value > maximum)
        throw CommandError(std::string("not a number: ").append(text));
    return value;
}

std::string_view CommandWords::remainder() noexcept {
    return std::exchange(rest_, {});
}

void CommandWords::end() const {
    if (!rest_.empty()) throw CommandError(std::string("too many words: ").append(rest_));
}

}  // namespace Korvex::Simulation
