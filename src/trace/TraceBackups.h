// Where the old contents of a trace file go before it is written anew.
#pragma once

#include <cstdint>
#include <filesystem>

namespace OpxOpc {

// "trace.txt" is moved to "trace_1.txt" after "trace_1.txt" has become "trace_2.txt" and so on, up to
// number `count`. What cannot be moved stays; an existing target is replaced. False if `file` stays, as
// devices and pipes always do.
bool moveToNumberedBackup(const std::filesystem::path& file, std::uint32_t count);

// "errors.txt" is moved to "errors.txt.bak", replacing it. The result is as above.
bool moveToSingleBackup(const std::filesystem::path& file);

}  // namespace OpxOpc
