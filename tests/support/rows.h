// Tables of test cases that stand in files.
#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Korvex::Testing {

// The rows of a file below tests/, of `columns` cells each: two blanks or more separate cells, "" is an empty one.
// Empty lines and those that begin with # are no rows.
inline std::vector<std::vector<std::string>> rowsOf(const std::string& path, std::size_t columns) {
    std::ifstream file(std::string(KORVEX_TESTS_FOLDER "/") + path);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        line.erase(line.find_last_not_of(" \r") + 1);
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string> cells;
        for (std::size_t begin = 0; begin < line.size(); begin = line.find_first_not_of(' ', begin)) {
            const std::size_t end = std::min(line.find("  ", begin), line.size());
            const std::string cell = line.substr(begin, end - begin);
            cells.push_back(cell == "\"\"" ? "" : cell);
            begin = end;
        }
        if (cells.size() != columns) throw std::logic_error(path + ": " + line);
        rows.push_back(std::move(cells));
    }
    if (rows.empty()) throw std::logic_error("no rows in " + path);
    return rows;
}

}  // namespace Korvex::Testing
