// A folder of its own for each test.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "com/platform.h"

namespace Korvex::Testing {

class TestFolder : public ::testing::Test {
protected:
    TestFolder() { std::filesystem::create_directories(folder); }
    ~TestFolder() override {
        std::error_code stays;
        std::filesystem::remove_all(folder, stays);
    }

    void create(const std::string& name, const std::string& content) { std::ofstream(folder / name) << content; }
    std::string text(const std::string& name) {
        std::ifstream file(folder / name);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("korvex-com-test-" + std::to_string(Com::currentThreadId()));
};

}  // namespace Korvex::Testing
