// Lines that a test expects of a trace or of a record, which stand in a file.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Korvex::Testing {

// The lines of the section "## name" of a file below tests/. Lines before the first section are comments.
inline std::vector<std::string> linesOf(const std::string& path, const std::string& name) {
    std::ifstream file(std::string(KORVEX_TESTS_FOLDER "/") + path);
    std::vector<std::string> lines;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.rfind("## ", 0) == 0) {
            isInside = line.substr(3) == name;
        } else if (isInside && !line.empty()) {
            lines.push_back(line);
        }
    }
    if (lines.empty()) throw std::logic_error(path + " has no section " + name);
    return lines;
}

// The names of the file's sections.
inline std::vector<std::string> sectionsOf(const std::string& path) {
    std::ifstream file(std::string(KORVEX_TESTS_FOLDER "/") + path);
    std::vector<std::string> names;
    for (std::string line; std::getline(file, line);) {
        line.erase(line.find_last_not_of('\r') + 1);
        if (line.rfind("## ", 0) == 0) names.push_back(line.substr(3));
    }
    return names;
}

}  // namespace Korvex::Testing
