// The calls that the server got, in the order of arrival.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Simulation {

class Journal {
public:
    // A call that has arrived. Returns what finish() needs to name it.
    std::uint64_t begin(std::string call);
    void finish(std::uint64_t entry, HRESULT result);

    // Something that happened without being a call: "server released".
    void note(std::string event);

    // One line an entry; a call that has not returned yet ends with "-> running".
    std::string text() const;
    void clear();

private:
    struct Entry {
        std::uint64_t number;
        std::string line;
    };

    std::uint64_t append(std::string line);

    mutable Mutex mutex_;
    std::deque<Entry> entries_ GUARDED_BY(mutex_);
    std::uint64_t next_ GUARDED_BY(mutex_) = 0;
};

// "0x80004005".
std::string hexText(std::uint32_t code);
inline std::string hexText(HRESULT code) {
    return hexText(static_cast<std::uint32_t>(code));
}

}  // namespace Korvex::Simulation
