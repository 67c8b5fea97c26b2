// Starts server programs.
#pragma once

#include <chrono>
#include <filesystem>

#include "com/portable/local/Descriptor.h"

namespace Korvex::Com {

// A program that was started, to its starter, which is not its parent.
class StartedProgram {
public:
    explicit StartedProgram(Descriptor process) noexcept : process_(std::move(process)) {}

    // Waits for the program's end; answers whether it has ended.
    bool hasEndedIn(std::chrono::milliseconds time) const;

private:
    Descriptor process_;
};

// Starts `program` with the argument -Embedding, as COM starts servers: in a session of its own, so that no terminal's
// signals reach it, in the folder /, with its standard streams on /dev/null, no other descriptor, no signal blocked or
// ignored, and this process's environment. Throws LocalFailure: for a path that is not absolute, a file or folder that
// others may change, a program that the system does not start, and in a process that has more rights than its user.
//
// The program is nobody's child here: a process in between starts it and ends, and that one tells no handler of
// SIGCHLD when it ends and is not found by a wait for any child.
StartedProgram startProgram(const std::filesystem::path& program);

}  // namespace Korvex::Com
