#include <fcntl.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <thread>

#include "com/portable/local/ProgramLauncher.h"
#include "tests/com/local/LocalFixture.h"

namespace Korvex::Testing {
namespace {

using namespace std::chrono_literals;
using Com::ClassDirectory;
using Com::LocalListener;
using Com::LocalSocket;
using Com::RuntimeFolder;

class Directory : public Local {
protected:
    std::string reportOfServer() { return receive(*classes.connectOrStart(kTestClass, program, 1h)); }

    const RuntimeFolder runtimeFolder = RuntimeFolder::open();
    const ClassDirectory classes{runtimeFolder};
    const Variable task{"KORVEX_TEST_PROGRAM", "serve"};
};

TEST_F(Directory, AClassIsServedByTheProgramThatRegisteredItLast) {
    EXPECT_FALSE(classes.connect(kTestClass));
    LocalListener first(RuntimeFolder::open());
    LocalListener second(RuntimeFolder::open());
    classes.add(kTestClass, first.name());
    classes.add(kTestClass, second.name());
    const auto client = classes.connect(kTestClass);
    ASSERT_TRUE(client);
    send(*client, "to the last");
    EXPECT_EQ(receive(*second.accept()), "to the last");
    classes.remove(kTestClass, first.name());
    EXPECT_TRUE(classes.connect(kTestClass)) << "it was another's";
    classes.remove(kTestClass, second.name());
    EXPECT_FALSE(classes.connect(kTestClass));
}

TEST_F(Directory, ClientsThatComeAtOnceStartOneProgram) {
    std::vector<FILE*> clients(4);
    for (FILE*& client : clients) client = ::popen((program.string() + " visit").c_str(), "r");
    const int server = processIn(reportOfServer());
    for (FILE* client : clients) {
        std::array<char, 100> line = {};
        ASSERT_TRUE(std::fgets(line.data(), line.size(), client));
        EXPECT_EQ(processIn(line.data()), server);
        EXPECT_EQ(::pclose(client), 0);
    }
    EXPECT_EQ(startedProcesses(), std::vector<int>{server});
}

TEST_F(Directory, AProgramStartsWithNothingOfItsClientButTheEnvironment) {
    const Com::Descriptor open(::open("/dev/zero", O_RDONLY));  // which a program that it starts would get
    const auto before = ::signal(SIGUSR1, SIG_IGN);
    sigset_t blocked;
    sigset_t unblocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &unblocked);
    const std::string report = reportOfServer();
    ::pthread_sigmask(SIG_SETMASK, &unblocked, nullptr);
    ::signal(SIGUSR1, before);
    EXPECT_EQ(report.substr(report.find('\n') + 1),
              "argument -Embedding\nfolder /\nsession own\n"
              "descriptor 0 /dev/null\ndescriptor 1 /dev/null\ndescriptor 2 /dev/null\n"
              "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

std::atomic<int> childrenTold{0};

TEST_F(Directory, StartingDisturbsNoChildrenOfTheApplication) {
    const auto before = ::signal(SIGCHLD, [](int) { ++childrenTold; });
    const pid_t own = ::fork();
    if (own == 0) {
        ::pause();
        ::_exit(0);
    }
    EXPECT_GT(processIn(reportOfServer()), 0);
    EXPECT_EQ(childrenTold, 0);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), 0) << "no child has ended, and none but its own is there";
    ::kill(own, SIGKILL);
    EXPECT_EQ(::waitpid(-1, nullptr, __WALL), own);
    EXPECT_EQ(::waitpid(-1, nullptr, __WALL), -1);
    ::signal(SIGCHLD, before);
}

TEST_F(Directory, AProgramThatServesNoClassIsAFailure) {
    struct {
        const char* task;
        std::chrono::milliseconds patience;
        const char* told;
    } const rows[] = {
        {"end", 1h, "ended before it registered its class"},
        {"hang", 50ms, "did not register its class in time"},
    };
    for (const auto& row : rows) {
        const Variable does("KORVEX_TEST_PROGRAM", row.task);
        const auto failure = failureOf([&] { classes.connectOrStart(kTestClass, program, row.patience); });
        ASSERT_TRUE(failure) << row.task;
        EXPECT_EQ(failure->code(), CO_E_SERVER_EXEC_FAILURE);
        EXPECT_EQ(failure->what(), program.string() + ": " + row.told);
    }
    EXPECT_GT(processIn(reportOfServer()), 0) << "the next attempt starts anew";
}

TEST_F(Directory, AFileThatIsNotToBeStartedIsNot) {
    create("text", "no program");
    create("open", "#!/bin/sh\n");
    fs::permissions(folder / "text", fs::perms(0700));
    fs::permissions(folder / "open", fs::perms(0777));
    struct {
        fs::path path;
        HRESULT code;
        const char* told;
    } const rows[] = {
        {"korvex_local_program", CO_E_SERVER_EXEC_FAILURE, "is no absolute path"},
        {folder / "absent", CO_E_SERVER_EXEC_FAILURE, "No such file or directory"},
        {folder / "text", CO_E_SERVER_EXEC_FAILURE, "Exec format error"},
        {folder / "open", E_ACCESSDENIED, "others than its owner may write to it"},
    };
    for (const auto& row : rows) {
        const auto failure = failureOf([&] { classes.connectOrStart(kTestClass, row.path, 1h); });
        ASSERT_TRUE(failure) << row.path;
        EXPECT_EQ(failure->code(), row.code);
        EXPECT_EQ(failure->what(), row.path.string() + ": " + row.told);
    }
}

TEST_F(Directory, ACrashedProgramStandsInNobodysWay) {
    const int crashed = processIn(reportOfServer());
    endAndWait(crashed);
    EXPECT_FALSE(classes.connect(kTestClass));
    EXPECT_NE(processIn(reportOfServer()), crashed);
    EXPECT_EQ(namesIn(runtime, ".socket").size(), 1u);
    EXPECT_EQ(startedProcesses().size(), 2u);
}

}  // namespace
}  // namespace Korvex::Testing
