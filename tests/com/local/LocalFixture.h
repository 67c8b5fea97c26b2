// A runtime folder of a test's own, and the program that COM starts in it.
#pragma once

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <thread>
#include <vector>

#include "tests/com/TestFolder.h"
#include "tests/com/Variable.h"
#include "tests/com/local/Conversation.h"

namespace Korvex::Testing {

class Local : public TestFolder {
protected:
    // Ends what COM started: those programs are nobody's children.
    ~Local() override {
        for (const int process : startedProcesses()) endAndWait(process);
    }

    std::vector<int> startedProcesses() const {
        std::ifstream file(runtime / kStarts);
        return {std::istream_iterator<int>(file), std::istream_iterator<int>()};
    }

    static void endAndWait(int process) {
        const Com::Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
        ::kill(process, SIGKILL);
        pollfd ended = {handle.get(), POLLIN, 0};
        if (handle) ::poll(&ended, 1, -1);
    }

    static int processIn(const std::string& report) { return std::stoi(report.substr(report.find(' '))); }

    std::set<std::string> namesIn(const fs::path& place, const std::string& extension) const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(place)) {
            if (entry.path().extension() == extension) names.insert(entry.path().filename());
        }
        return names;
    }

    const fs::path program = Com::programPath().parent_path() / "korvex_local_program";
    const fs::path runtime = folder / "runtime";
    const Variable named{"KORVEX_OPC_RUNTIME", runtime.string()};
};

// What `call` throws.
template <typename Call>
std::optional<Com::LocalFailure> failureOf(Call call) {
    try {
        call();
    } catch (const Com::LocalFailure& failure) {
        return failure;
    }
    return std::nullopt;
}

// What a command prints.
inline std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = ::popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) output.push_back(static_cast<char>(c));
    EXPECT_EQ(::pclose(pipe), 0);
    return output;
}

// Does something on a thread whose effective user is another one.
template <typename Work>
void asAnotherUser(Work work) {
    constexpr uid_t kNobody = 65534;
    std::thread([&] {
        ASSERT_EQ(::syscall(SYS_setresuid, -1, kNobody, -1), 0);  // the system's call is for one thread
        work();
    }).join();
}

}  // namespace Korvex::Testing
