#include "trace/TraceBackups.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace OpxOpc {
namespace {

namespace fs = std::filesystem;

// False if something keeps the name `from`.
bool moveFile(const fs::path& from, const fs::path& to) {
    std::error_code error;
    if (fs::exists(from, error) && !fs::is_regular_file(from, error)) return false;
    fs::rename(from, to, error);
    return !error || !fs::exists(fs::symlink_status(from, error));
}

// The names of a file's backups: its own with "_" and a number before the last dot. The dot is looked
// for in the file's name alone; one in a folder's would send the backups to a folder that is not there.
class NumberedNames {
public:
    explicit NumberedNames(const fs::path& file) : folder_(file.parent_path()), extension_(".log") {
        const fs::path::string_type name = file.filename().native();
        const std::size_t dot = name.rfind(fs::path::value_type('.'));
        stem_ = name.substr(0, dot);
        if (dot != fs::path::string_type::npos) extension_ = name.substr(dot);
        stem_ += "_";
    }

    fs::path operator[](std::uint32_t number) const {
        fs::path name = stem_;
        name += std::to_string(number);
        name += extension_;
        return folder_ / name;
    }

    // The numbers of the backups that exist, highest first.
    std::vector<std::uint32_t> existing() const {
        std::vector<std::uint32_t> numbers;
        std::error_code error;
        for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error)) {
            if (const auto number = numberOf(entry->path().filename())) numbers.push_back(*number);
        }
        std::sort(numbers.begin(), numbers.end(), std::greater<>());
        return numbers;
    }

private:
    std::optional<std::uint32_t> numberOf(const fs::path& name) const {
        const fs::path::string_type& text = name.native();
        const std::size_t start = stem_.native().size();
        const std::size_t fixed = start + extension_.native().size();
        if (text.size() <= fixed) return std::nullopt;
        std::string digits;
        for (const auto c : text.substr(start, text.size() - fixed)) {
            if (c < '0' || c > '9') return std::nullopt;
            digits.push_back(static_cast<char>(c));
        }
        std::uint32_t number = 0;
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (parsed.ec != std::errc() || name != (*this)[number].filename()) return std::nullopt;
        return number;
    }

    fs::path folder_;
    fs::path stem_;
    fs::path extension_;
};

}  // namespace

bool moveToNumberedBackup(const fs::path& file, std::uint32_t count) {
    const NumberedNames names(file);
    for (const std::uint32_t number : names.existing()) {
        if (number >= 1 && number < count) moveFile(names[number], names[number + 1]);
    }
    return moveFile(file, names[1]);
}

bool moveToSingleBackup(const fs::path& file) {
    fs::path backup = file;
    backup += ".bak";
    return moveFile(file, backup);
}

}  // namespace OpxOpc
