#include "sim/plant/NamePattern.h"

namespace Korvex::Simulation {
namespace {

// Whether the characters between the brackets of a set hold `c`.
bool isInSet(OLECHAR c, OpxStringView set) noexcept {
    const bool inverted = !set.empty() && set.front() == '!';
    if (inverted) set.remove_prefix(1);
    bool found = false;
    for (std::size_t i = 0; i < set.size(); ++i) {
        if (i + 2 < set.size() && set[i + 1] == '-') {
            found = found || (set[i] <= c && c <= set[i + 2]);
            i += 2;
        } else {
            found = found || set[i] == c;
        }
    }
    return found != inverted;
}

// Whether `c` is what the first element of the pattern stands for; takes that element off.
bool matchesElement(OLECHAR c, OpxStringView& pattern) noexcept {
    const OLECHAR element = pattern.front();
    const std::size_t end = element == '[' ? pattern.find(']') : OpxStringView::npos;
    if (end != OpxStringView::npos) {
        const OpxStringView set = pattern.substr(1, end - 1);
        pattern.remove_prefix(end + 1);
        return isInSet(c, set);
    }
    pattern.remove_prefix(1);
    if (element == '#') return c >= '0' && c <= '9';
    return element == '?' || element == c;
}

bool matches(OpxStringView name, OpxStringView pattern) noexcept {
    // On a mismatch the last "*" takes one character more; no earlier one needs to be tried again.
    bool starred = false;
    OpxStringView nameAfterStar, patternAfterStar;
    while (!name.empty() || !pattern.empty()) {
        if (!pattern.empty() && pattern.front() == '*') {
            pattern.remove_prefix(1);
            starred = true;
            nameAfterStar = name;
            patternAfterStar = pattern;
            continue;
        }
        if (!name.empty() && !pattern.empty() && matchesElement(name.front(), pattern)) {
            name.remove_prefix(1);
            continue;
        }
        if (!starred || nameAfterStar.empty()) return false;
        nameAfterStar.remove_prefix(1);
        name = nameAfterStar;
        pattern = patternAfterStar;
    }
    return true;
}

}  // namespace

bool matchesPattern(OpxStringView name, OpxStringView pattern) noexcept {
    return pattern.empty() || matches(name, pattern);
}

}  // namespace Korvex::Simulation
