// Tests that stand in files as sessions of steps: one step a line, and behind " | " what it answers. A step that
// succeeds with nothing to tell answers nothing.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <korvex/text.h>

#include "tests/support/expected_lines.h"

namespace Korvex::Testing {

// "subscribe 7 rate=100 Constant.Int32": an action, names and settings.
struct Step {
    // `isWhole`: what stands behind " | " belongs to the text.
    explicit Step(const std::string& line, bool isWhole = false) {
        const std::size_t end = isWhole ? line.size() : std::min(line.find(" | "), line.size());
        if (end < line.size()) answer = line.substr(end + 3);
        action = line.substr(0, std::min(line.find(' '), end));
        text = line.substr(std::min(action.size() + 1, end), end - std::min(action.size() + 1, end));
        std::istringstream words(text);
        for (std::string word; words >> word;) {
            const std::size_t sign = word.find('=');
            if (sign == word.npos)
                names.push_back(word);
            else
                settings.emplace_back(word.substr(0, sign), word.substr(sign + 1));
        }
    }
    std::optional<std::string> setting(const std::string& key) const {
        for (const auto& [name, value] : settings) {
            if (name == key) return value;
        }
        return std::nullopt;
    }
    std::uint32_t numberOf(const std::string& key, std::uint32_t otherwise) const {
        return static_cast<std::uint32_t>(std::stoul(setting(key).value_or(std::to_string(otherwise))));
    }
    std::uint32_t number(std::size_t index) const { return static_cast<std::uint32_t>(std::stoul(names.at(index))); }
    // The first name, or "".
    OpxString name() const { return fromUtf8(names.empty() ? "" : names[0]); }

    std::string action, text, answer;
    std::vector<std::string> names;
    std::vector<std::pair<std::string, std::string>> settings;
};

// For a suite whose parameter is the section that it plays.
inline std::string nameOfSection(const ::testing::TestParamInfo<std::string>& section) {
    return section.param;
}

class Steps {
public:
    using Action = std::function<std::string(const Step&)>;

    void add(const std::string& name, Action action) { actions_[name] = std::move(action); }
    // One that has nothing to tell.
    void addSilent(const std::string& name, std::function<void(const Step&)> action) {
        add(name, [action = std::move(action)](const Step& step) {
            action(step);
            return "";
        });
    }

    void play(const std::string& line) const {
        SCOPED_TRACE(line);
        const bool playsAnother = line.rfind("start ", 0) == 0 || line.rfind("on ", 0) == 0;
        const Step step(line, playsAnother);
        const std::string answer = actions_.at(step.action)(step);
        EXPECT_EQ(answer.substr(std::min(answer.find_first_not_of(' '), answer.size())), step.answer);
    }
    void playAll(const std::vector<std::string>& lines) const {
        for (const std::string& line : lines) play(line);
    }

    template <typename Predicate>
    static std::string waitFor(Predicate isSo) {
        for (int i = 0; i < 20'000; ++i) {
            if (isSo()) return {};
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return "waited in vain";
    }

private:
    std::map<std::string, Action> actions_;
};

}  // namespace Korvex::Testing
