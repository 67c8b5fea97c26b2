// The trace: what the library does, line by line, in a text file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "com/com.h"
#include "trace/TraceFormat.h"

namespace OpxOpc {

// Process-wide. The front functions format printf-style, outside the lock, and do nothing while the
// switch is off; `%ls` takes UTF-16 text, `%s` UTF-8, `%lx` a 32-bit value. Formats are checked
// against their arguments at compile time. Every function may be called by any thread at any time,
// and none throws or fails visibly: a trace that cannot be written never disturbs its caller.
class LibT {
public:
    enum Level : std::int32_t {
        kError = 1,
        kWarning = 2,  // connection events; has no front function
        kInformation = 3,
        kInterfaceCall = 4,
        kConstructor = 5,
        kInOut = 6,
        kDetail = 7,
        kHighest = kDetail,
    };

    template <typename... Args>
    static void lError(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kError, format, args...);
    }
    template <typename... Args>
    static void lInfo(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kInformation, format, args...);
    }
    template <typename... Args>
    static void lIfCall(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kInterfaceCall, format, args...);
    }
    template <typename... Args>
    static void lCtor(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kConstructor, format, args...);
    }
    template <typename... Args>
    static void lInOut(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kInOut, format, args...);
    }
    template <typename... Args>
    static void lDetail(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        front(kDetail, format, args...);
    }

    // Level writers for connection events: they do not ask the switch.
    template <typename... Args>
    static void eventWarning(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        formatAndWrite(kWarning, format, args...);
    }
    template <typename... Args>
    static void eventInformation(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) noexcept {
        formatAndWrite(kInformation, format, args...);
    }

    static void setTraceActive(bool active) noexcept;
    static bool isTraceActive() noexcept;

    // The highest level written to the trace file; ask before building a parameter dump.
    static std::int32_t level() noexcept;
    // True when detail lines are wanted and would be written.
    static bool detailWanted() noexcept { return isTraceActive() && level() >= kDetail; }

    // Opens the trace file for lines up to `level`: 0, or -1 if one is open already or it cannot be
    // created. A file of that name that exists becomes the first of `backups` numbered backups
    // ("trace_1.txt"; one is kept even if `backups` is 0), as does one that holds `lineLimit` lines,
    // the header counting as two. A relative path is relative to the current directory.
    static std::int32_t initTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups,
                                  const OpxString& file, const OpxString& programName) noexcept;
    // Opens the file that takes levels 1 to 3 whatever the level: 0, or -1 as above. A file of that
    // name that exists, or is full, becomes the one backup, named with ".bak" at its end. If it is the
    // trace file, one file holds both, each line once.
    static std::int32_t initErrorTrace(const OpxString& file, const OpxString& programName) noexcept;

private:
    template <typename... Args>
    static void front(Level level, const TraceFormat<std::type_identity_t<Args>...>& format,
                      const Args&... args) noexcept {
        if (isTraceActive() && wanted(level)) formatAndWrite(level, format, args...);
    }
    template <typename... Args>
    static void formatAndWrite(Level level, const TraceFormat<std::type_identity_t<Args>...>& format,
                               const Args&... args) noexcept {
        const TraceArgument packed[] = {TraceArgument(args)..., TraceArgument()};
        write(level, format.text(), packed, sizeof...(Args));
    }
    static bool wanted(Level level) noexcept;
    static void write(Level level, const char* format, const TraceArgument* args, std::size_t count) noexcept;
};

}  // namespace OpxOpc
