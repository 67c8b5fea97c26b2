#include "tests/processes/ServerProgram.h"

#include <gtest/gtest.h>
#include <tlhelp32.h>

#include <cstdlib>
#include <memory>
#include <thread>

namespace Korvex::Testing {
std::vector<DWORD> processesOf(const OpxString& program) {
    std::vector<DWORD> ids;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W process = {};
    process.dwSize = sizeof process;
    for (BOOL more = Process32FirstW(snapshot.get(), &process); more; more = Process32NextW(snapshot.get(), &process))
        if (program == process.szExeFile) ids.push_back(process.th32ProcessID);
    return ids;
}

bool serversEnd(std::chrono::seconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!serverProcesses().empty()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

void endProcess(DWORD id) {
    const Handle process(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
    if (!process) return;
    TerminateProcess(process.get(), 1);
    WaitForSingleObject(process.get(), INFINITE);
}

int run(const std::string& command) {
    return std::system(command.c_str());
}

void registerServer() {
    ASSERT_EQ(run("regsvr32 /s KorvexOpcProxy.dll"), 0);
    ASSERT_EQ(run("start /wait KorvexSimulation.exe -RegServer"), 0);
}

}  // namespace Korvex::Testing
