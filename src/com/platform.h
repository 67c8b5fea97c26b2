// Everything but COM that differs between the platforms, behind plain functions.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

// The current time as the C runtime reports it together with the local zone.
struct ZonedTime {
    std::int64_t seconds;         // since 1970-01-01 UTC
    std::uint16_t milliseconds;   // 0 to 999
    std::int16_t minutesWest;     // of UTC, without the daylight shift; negative east of Greenwich
    std::int16_t daylightSaving;  // non-zero when daylight saving time is in force
};
ZonedTime currentTime();

struct CalendarTime {
    int year, month, day, hour, minute, second;  // month and day from 1
};

// `seconds` since 1970 UTC in the local zone of that instant; nothing if it cannot be represented.
std::optional<CalendarTime> localCalendarTime(std::int64_t seconds);

// The operating system's number of the calling thread.
std::uint32_t currentThreadId() noexcept;

// The file of the module (program or shared library) that holds `address`; empty if none does.
std::filesystem::path modulePathOf(const void* address);

// The running program's file.
std::filesystem::path programPath();

// An environment variable in UTF-16; nothing if it is not set, or if the program has rights that who set it lacks.
std::optional<OpxString> environmentVariable(const char* name);
// Sets one, in UTF-8, for this process and those that it starts. To be called while there is one thread.
void setEnvironmentVariable(const char* name, const std::string& value);

// Returns what the calling thread's last look at COM's registry on this machine found and no server could be read
// from: a sentence each, told once. Always empty where the registry is a database of the system.
std::vector<OpxString> takeBrokenRegistrations();

// Why the calling thread's last creation of an object could not load the class's module, in a sentence told
// once; empty where it was no module's fault, or the system does not say.
OpxString takeModuleFailure();

// Keeps the process's multi-threaded apartment alive, though the thread that brought it up may end.
// Returns what takes that back; null where the system cannot.
void* holdMultiThreadedApartment();
void releaseMultiThreadedApartment(void* hold);

// Delivers the messages that wait in the calling thread's queue: COM calls into objects of a
// single-threaded apartment. Does nothing on a thread that has no queue.
void pumpMessages();

// Wakes one thread that waits for it, or for messages.
class WakeEvent {
public:
    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent&) = delete;
    WakeEvent& operator=(const WakeEvent&) = delete;

    // Any thread may call. A wake-up that nobody waits for yet ends the next wait.
    void set() noexcept;

    // Returns when the event is set, when a message for pumpMessages comes, or after `limit`.
    void waitForItOrMessages(std::chrono::microseconds limit);

private:
    struct State;
    const std::unique_ptr<State> state_;
};

// The attributes of the elements named `elements` that are children of an XML file's document
// element: element name -> attribute name -> value. Nothing when the file cannot be read or is not
// well-formed XML. An element that is absent has no entry; of several, the first counts.
using XmlAttributes = std::map<OpxString, std::map<OpxString, OpxString>>;
std::optional<XmlAttributes> readXmlAttributes(const std::filesystem::path& file,
                                               const std::vector<OpxString>& elements);

}  // namespace Korvex::Com
