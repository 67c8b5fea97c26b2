// Whom a file's mode lets change it.
#pragma once

#include <filesystem>
#include <string>

namespace Korvex::Com {

// True if somebody besides the owner, the owner's own group and the group "staff" may write to `path`, which may be
// a folder. A path that cannot be looked at is nobody's to change.
bool othersMayChange(const std::filesystem::path& path);

// Says why code that `file` names or holds is not to be run: somebody else may change the file or its folder.
// Empty where nobody may.
std::string whyNotTrusted(const std::filesystem::path& file);

}  // namespace Korvex::Com
