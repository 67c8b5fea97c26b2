// A folder for the files of one test.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "com/com.h"

namespace Korvex::Testing {

class TraceFolder {
public:
    TraceFolder() {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        path_ = std::filesystem::temp_directory_path() / "korvex-trace" / std::to_string(std::random_device()()) /
                test->name();
        std::filesystem::create_directories(path_);
    }
    // One by one: a file that the process still has open may stay, and remove_all would try for ever.
    ~TraceFolder() {
        std::error_code stays;
        std::vector<std::filesystem::path> all = {path_.parent_path()};
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path_.parent_path(), stays)) {
            all.push_back(entry.path());
        }
        for (auto path = all.rbegin(); path != all.rend(); ++path) std::filesystem::remove(*path, stays);
    }
    TraceFolder(const TraceFolder&) = delete;
    TraceFolder& operator=(const TraceFolder&) = delete;

    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

    std::filesystem::path create(const std::string& name, const std::string& text) const {
        std::ofstream(path_ / name) << text;
        return path_ / name;
    }

    // The text of a file; "(absent)" if there is none.
    std::string text(const std::filesystem::path& name) const {
        std::ifstream stream(path_ / name);
        if (!stream) return "(absent)";
        std::ostringstream all;
        all << stream.rdbuf();
        return all.str();
    }

    // Every file of the folder: name -> text.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) {
            found[entry.path().filename().string()] = text(entry.path().filename());
        }
        return found;
    }

private:
    std::filesystem::path path_;
};

}  // namespace Korvex::Testing
