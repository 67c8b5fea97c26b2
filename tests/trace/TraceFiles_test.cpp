#include "trace/TraceFiles.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>

#include "tests/trace/TraceFolder.h"

namespace OpxOpc {
namespace {

using Korvex::Com::ZonedTime;
using Korvex::Testing::TraceFolder;
using testing::HasSubstr;
using Files = std::map<std::string, std::string>;

constexpr std::uint32_t kManyLines = 1000;
constexpr char kHeader[] = "** Client: start trace\n** Date:\t2024-05-01\n**\n";

// 1 May 2024, 12:34:56.789 UTC, seen from a place two hours to the east in summer.
ZonedTime springNoon() {
    return {1714566896, 789, -60, 1};
}

// Every line's thread as "T".
std::string withoutThreads(std::string_view text) {
    const std::string_view time = "789Z|6|";
    std::string out;
    for (std::size_t at = text.find("789Z|"); at != text.npos; at = text.find("789Z|")) {
        out += text.substr(0, at + time.size());
        out += 'T';
        text.remove_prefix(text.find('*', at));
    }
    out += text;
    return out;
}
std::string line(int level, const std::string& message) {
    return "2024-05-01 12:34:56.789Z|" + std::to_string(level) + "|T* " + message + "\n";
}
Files withoutThreads(Files files) {
    for (auto& [name, text] : files) text = withoutThreads(text);
    return files;
}

class TraceFilesTest : public testing::Test {
protected:
    bool openTrace(std::uint32_t level, std::uint32_t limit = kManyLines, std::uint32_t backups = 3,
                   const std::string& name = "trace.txt") {
        return files.openTrace(level, limit, backups, folder / name, OLESTR("Client"));
    }
    bool openErrors(const std::string& name = "errors.txt") {
        return files.openErrors(folder / name, OLESTR("Client"));
    }

    TraceFolder folder;
    TraceFiles files{springNoon};
};

TEST_F(TraceFilesTest, ALineTellsUtcTimeLevelThreadAndMessage) {
    ASSERT_TRUE(openTrace(7));
    files.write(6, "--> DaServerCom::connect");
    const std::string text = folder.text("trace.txt");
    char thread[16];
    std::snprintf(thread, sizeof thread, "%04X", static_cast<unsigned>(Korvex::Com::currentThreadId()));
    EXPECT_EQ(text, kHeader + ("2024-05-01 12:34:56.789Z|6|" + std::string(thread) + "* --> DaServerCom::connect\n"));
}

TEST_F(TraceFilesTest, EachFileTakesItsLevels) {
    ASSERT_TRUE(openTrace(2));
    ASSERT_TRUE(openErrors());
    EXPECT_EQ(files.level(), 2);
    for (int level = 1; level <= 7; ++level) files.write(level, "text");
    EXPECT_EQ(withoutThreads(folder.text("trace.txt")), kHeader + line(1, "text") + line(2, "text"));
    EXPECT_EQ(withoutThreads(folder.text("errors.txt")), kHeader + line(1, "text") + line(2, "text") + line(3, "text"));
}

TEST_F(TraceFilesTest, AFileThatIsOpenIsNotOpenedAgain) {
    ASSERT_TRUE(openTrace(7));
    ASSERT_TRUE(openErrors());
    files.write(3, "text");
    const Files before = folder.files();
    EXPECT_FALSE(openTrace(1, 5, 1, "other.txt"));
    EXPECT_FALSE(openErrors("other.txt"));
    EXPECT_EQ(files.level(), 7);
    EXPECT_EQ(folder.files(), before);
}

TEST_F(TraceFilesTest, AFullTraceFileBecomesTheFirstOfNumberedBackups) {
    folder.create("trace.txt", "zero");
    folder.create("trace_1.txt", "one");
    folder.create("trace_2.txt", "two");
    folder.create("trace_3.txt", "three");
    folder.create("trace_02.txt", "someone else's");
    ASSERT_TRUE(openTrace(7, 5));
    EXPECT_EQ(folder.files(), (Files{{"trace.txt", kHeader},
                                     {"trace_1.txt", "zero"},
                                     {"trace_2.txt", "one"},
                                     {"trace_3.txt", "two"},
                                     {"trace_02.txt", "someone else's"}}));
    files.write(6, "a");
    files.write(6, "b\nstill b");
    EXPECT_EQ(folder.text("trace_1.txt"), "zero") << "two lines and the header are four lines, not five";
    files.write(6, "c");
    EXPECT_EQ(withoutThreads(folder.files()),
              (Files{{"trace.txt", kHeader},
                     {"trace_1.txt", kHeader + line(6, "a") + line(6, "b\nstill b") + line(6, "c")},
                     {"trace_2.txt", "zero"},
                     {"trace_3.txt", "one"},
                     {"trace_02.txt", "someone else's"}}));
}

TEST_F(TraceFilesTest, BackupsAreNamedByTheLastDotOfTheFileName) {
    const std::tuple<std::string, std::string> table[] = {{"trace", "trace_1.log"},
                                                          {"a.b.txt", "a.b_1.txt"},
                                                          {".hidden", "_1.hidden"},
                                                          {"v1.2/trace", "v1.2/trace_1.log"}};
    std::filesystem::create_directory(folder / "v1.2");
    for (const auto& [name, backup] : table) {
        folder.create(name, "old");
        TraceFiles others(springNoon);
        ASSERT_TRUE(others.openTrace(7, kManyLines, 1, folder / name, OLESTR("Client"))) << name;
        EXPECT_EQ(folder.text(backup), "old") << name;
        EXPECT_EQ(folder.text(name), kHeader) << name;
    }
}

TEST_F(TraceFilesTest, AHugeNumberOfBackupsCostsNoTime) {
    folder.create("trace.txt", "zero");
    folder.create("trace_4294967294.txt", "last but one");
    ASSERT_TRUE(openTrace(7, kManyLines, 0xFFFFFFFF));
    EXPECT_EQ(folder.files(),
              (Files{{"trace.txt", kHeader}, {"trace_1.txt", "zero"}, {"trace_4294967295.txt", "last but one"}}));
}

TEST_F(TraceFilesTest, AFullErrorFileBecomesItsOneBackup) {
    folder.create("errors.txt", "old");
    folder.create("errors.txt.bak", "older");
    ASSERT_TRUE(openErrors());
    EXPECT_EQ(folder.files(), (Files{{"errors.txt", kHeader}, {"errors.txt.bak", "old"}}));
    for (int i = 3; i < 10000; ++i) files.write(1, "text");
    EXPECT_EQ(folder.text("errors.txt.bak"), "old");
    files.write(1, "last");
    EXPECT_EQ(folder.text("errors.txt"), kHeader);
    EXPECT_THAT(folder.text("errors.txt.bak"), HasSubstr("* last\n"));
    files.write(1, "next");
    EXPECT_EQ(withoutThreads(folder.text("errors.txt")), kHeader + line(1, "next"));
}

TEST_F(TraceFilesTest, ErrorsInTheTraceFileStandThereOnceWhateverTheLevel) {
    const std::string same = "./trace.txt";
    for (const bool errorsFirst : {false, true}) {
        TraceFolder own;
        TraceFiles both(springNoon);
        const auto trace = [&] { return both.openTrace(1, kManyLines, 3, own / "trace.txt", OLESTR("Client")); };
        const auto errors = [&] { return both.openErrors(own / same, OLESTR("Client")); };
        ASSERT_TRUE(errorsFirst ? errors() : trace());
        ASSERT_TRUE(errorsFirst ? trace() : errors());
        EXPECT_FALSE(errors()) << "open already";
        both.write(1, "one");
        both.write(3, "three");
        both.write(4, "four");
        EXPECT_EQ(withoutThreads(own.text("trace.txt")), kHeader + line(1, "one") + line(3, "three"));
        EXPECT_EQ(own.text("trace.txt.bak"), errorsFirst ? own.text("trace.txt.bak") : "(absent)");
    }
}

TEST_F(TraceFilesTest, ARelativePathKeepsItsFolder) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    EXPECT_TRUE(files.openTrace(7, 3, 1, "relative.txt", OLESTR("Client")));
    std::filesystem::current_path(before);
    files.write(1, "last");
    EXPECT_EQ(folder.text("relative.txt"), kHeader);
    EXPECT_THAT(folder.text("relative_1.txt"), HasSubstr("* last\n"));
}

TEST_F(TraceFilesTest, AFileThatCannotBeCreatedIsNoneAndMayBeOpenedLater) {
    std::filesystem::create_directory(folder / "folder.txt");
    for (const std::string name : {"absent/trace.txt", "folder.txt/trace.txt/", ""}) {
        EXPECT_FALSE(openTrace(7, kManyLines, 3, name)) << name;
        EXPECT_FALSE(openErrors(name)) << name;
    }
    EXPECT_EQ(files.level(), 0);
    files.write(1, "lost");
    EXPECT_TRUE(openTrace(7));
    EXPECT_TRUE(openErrors());
}

TEST_F(TraceFilesTest, AFileThatCannotBeStartedAnewTakesNoMoreLines) {
    bool blocked = false;
    const auto block = [&](const std::filesystem::path& path) {
        if (!blocked) return true;
        std::filesystem::rename(path, folder / "moved.txt");
        std::filesystem::create_directory(path);
        return true;
    };
    TraceFile file;
    ASSERT_TRUE(file.open({folder / "trace.txt", OLESTR("Client"), 3, block}, OLESTR("2024-05-01")));
    blocked = true;
    file.writeLine("last\n", OLESTR("2024-05-01"));
    EXPECT_FALSE(file.isOpen());
    file.writeLine("lost\n", OLESTR("2024-05-01"));
    std::filesystem::remove(folder / "trace.txt");
    blocked = false;
    EXPECT_TRUE(file.open({folder / "trace.txt", OLESTR("Client"), 3, block}, OLESTR("2024-05-01")));
    EXPECT_EQ(folder.files(), (Files{{"moved.txt", kHeader + std::string("last\n")}, {"trace.txt", kHeader}}));
}

TEST_F(TraceFilesTest, AFileThatCannotBeMovedIsAppendedTo) {
    folder.create("trace.txt", "old\n");
    std::vector<bool> moves = {false, false, true};
    const auto move = [&](const std::filesystem::path& path) {
        const bool moved = moves.front();
        moves.erase(moves.begin());
        if (moved) std::filesystem::rename(path, folder / "moved.txt");
        return moved;
    };
    TraceFile file;
    ASSERT_TRUE(file.open({folder / "trace.txt", OLESTR("Client"), 4, move}, OLESTR("2024-05-01")));
    for (const char* line : {"a\n", "b\n", "c\n"}) file.writeLine(line, OLESTR("2024-05-01"));
    EXPECT_EQ(folder.text("trace.txt"), "old\n" + std::string(kHeader) + "a\nb\nc\n");
    file.writeLine("d\n", OLESTR("2024-05-01"));
    EXPECT_EQ(folder.text("trace.txt"), kHeader) << "tried again when as many lines had been written";
    EXPECT_EQ(folder.text("moved.txt"), "old\n" + std::string(kHeader) + "a\nb\nc\nd\n");
}

TEST_F(TraceFilesTest, WhatIsNoFileStaysWhereItIs) {
    std::filesystem::create_directory(folder / "trace.txt");
    EXPECT_FALSE(openTrace(7));
    EXPECT_FALSE(openErrors("trace.txt"));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "trace.txt"));
}

TEST_F(TraceFilesTest, AProgramNameStartsNoLine) {
    ASSERT_TRUE(files.openTrace(7, kManyLines, 1, folder / "trace.txt", OLESTR("Client\n** Forged")));
    EXPECT_THAT(folder.text("trace.txt"), HasSubstr("** Client\\u000A** Forged: start trace\n"));
}

TEST_F(TraceFilesTest, ProgramNamesAndPathsMayHaveAnyLetters) {
    const std::filesystem::path path = OpxString(OLESTR("Spur \u00E4\u4E2D.txt"));
    ASSERT_TRUE(files.openTrace(7, kManyLines, 1, folder / path, OLESTR("Pr\u00FCfer")));
    files.write(1, toUtf8(OLESTR("\u00B0C")));
    EXPECT_THAT(folder.text(path), testing::AllOf(HasSubstr("** Pr\xC3\xBC"
                                                            "fer: start"),
                                                  HasSubstr("* \xC2\xB0"
                                                            "C\n")));
}

TEST_F(TraceFilesTest, LinesOfSeveralThreadsStayWhole) {
    constexpr int kThreads = 4;
    constexpr int kLines = 200;
    ASSERT_TRUE(openTrace(7, 100, 100));
    ASSERT_TRUE(openErrors());
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kLines; ++i)
                files.write(1, "thread " + std::to_string(t) + " line " + std::to_string(i));
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::string traced;
    for (const auto& [name, text] : folder.files()) {
        if (name != "errors.txt") traced += text;
    }
    const std::string errors = folder.text("errors.txt");
    for (int t = 0; t < kThreads; ++t) {
        for (int i = 0; i < kLines; ++i) {
            const std::string expected = "* thread " + std::to_string(t) + " line " + std::to_string(i) + "\n";
            EXPECT_THAT(traced, HasSubstr(expected));
            EXPECT_THAT(errors, HasSubstr(expected));
        }
    }
}

}  // namespace
}  // namespace OpxOpc
