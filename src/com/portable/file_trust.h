// Whom a file's mode lets change it.
#pragma once

#include <filesystem>

namespace Korvex::Com {

// True if somebody besides the owner, the owner's own group and the group "staff" may write to `path`, which may be
// a folder. A path that cannot be looked at is nobody's to change.
bool othersMayChange(const std::filesystem::path& path);

}  // namespace Korvex::Com
