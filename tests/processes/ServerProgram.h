// The simulation server's program, as the system sees it.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "com/com.h"

namespace Korvex::Testing {

struct HandleCloser {
    void operator()(void* handle) const noexcept {
        if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
    }
};
using Handle = std::unique_ptr<void, HandleCloser>;

// Processes that run a program of this name now.
std::vector<DWORD> processesOf(const OpxString& program);
inline std::vector<DWORD> serverProcesses() {
    return processesOf(OLESTR("KorvexSimulation.exe"));
}

// Whether all server processes end within that time.
bool serversEnd(std::chrono::seconds patience);

void endProcess(DWORD id);

// Runs a command of the system and returns its exit code.
int run(const std::string& command);

// COM knows the server as a program, and the proxies. The program registers itself as a user has it done.
void registerServer();

}  // namespace Korvex::Testing
