// One text file of trace lines.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include <korvex/text.h>

#include "com/OutputFile.h"

namespace OpxOpc {

// Starts anew when it is full. Nothing is told about lines that could not be written. Not safe to be
// used by several threads.
class TraceFile {
public:
    struct Settings {
        std::filesystem::path path;
        OpxString programName;    // for the header
        std::uint32_t lineLimit;  // lines after which the file is full; the header counts as two
        std::function<bool(const std::filesystem::path&)> moveToBackup;  // false for a file that stays
    };

    // Moves a file of that name away and creates it with a header that tells `date`; false if it
    // cannot be created. What cannot be moved is appended to.
    bool open(Settings settings, OpxStringView date);
    bool isOpen() const { return file_.isOpen(); }
    void close() { file_.close(); }

    // True if the open file is that of `path`.
    bool isAt(const std::filesystem::path& path) const;

    // Does nothing while no file is open. `date` is for the header of the file that follows this line.
    void writeLine(const std::string& line, OpxStringView date);

private:
    void create(OpxStringView date);

    Settings settings_;
    Korvex::Com::OutputFile file_;
    std::uint32_t lines_ = 0;
};

}  // namespace OpxOpc
