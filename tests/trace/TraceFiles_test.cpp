#include "trace/TraceFiles.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tests/support/Steps.h"
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

class TraceFileSessions : public TraceFilesTest, public testing::WithParamInterface<std::string> {
protected:
    using Step = Korvex::Testing::Step;

    TraceFileSessions() {
        const auto opened = [](bool isOpened) { return isOpened ? "" : "refused"; };
        steps.add("open", [=, this](const Step& step) {
            return opened(openTrace(step.numberOf("level", 7), step.numberOf("limit", kManyLines),
                                    step.numberOf("backups", 3), step.setting("name").value_or("trace.txt")));
        });
        steps.add("errors", [=, this](const Step& step) {
            return opened(openErrors(step.setting("name").value_or("errors.txt")));
        });
        steps.add("level", [this](const Step&) { return std::to_string(files.level()); });
        steps.addSilent("write", [this](const Step& step) {
            std::string text = step.text.substr(2);
            std::replace(text.begin(), text.end(), '/', '\n');
            files.write(static_cast<int>(step.number(0)), text);
        });
        steps.addSilent("fill", [this](const Step& step) {
            for (std::uint32_t i = 0; i < step.number(0); ++i) files.write(1, "text");
        });
        steps.addSilent("create", [this](const Step& step) { folder.create(step.names.at(0), step.names.at(1)); });
        steps.addSilent("folder",
                        [this](const Step& step) { std::filesystem::create_directory(folder / step.names.at(0)); });
        steps.add("text", [this](const Step& step) { return shown(folder.text(step.names.at(0))); });
        steps.add("lastline", [this](const Step& step) {
            const std::string text = shown(folder.text(step.names.at(0)));
            return text.substr(text.rfind(' '));
        });
        // All files of the folder, or of one in it.
        steps.add("files", [this](const Step& step) {
            std::map<std::string, std::string> texts;
            const std::filesystem::path place = step.text;
            for (const auto& entry : std::filesystem::directory_iterator(folder / place))
                texts[entry.path().filename().string()] = shown(folder.text(place / entry.path().filename()));
            std::string all;
            for (const auto& [name, text] : texts) all += (all.empty() ? "" : ", ") + name + ": " + text;
            return all;
        });
    }

    static std::string shown(const std::string& text) {
        std::string result = withoutThreads(text);
        const auto replaceAll = [&](const std::string& part, const std::string& by) {
            for (std::size_t at; (at = result.find(part)) != result.npos;) result.replace(at, part.size(), by);
        };
        replaceAll(kHeader, "H");
        replaceAll("2024-05-01 12:34:56.789Z|", " ");
        replaceAll("|T* ", " ");
        replaceAll("\n", "/");
        return result;
    }

    Korvex::Testing::Steps steps;
};

TEST_P(TraceFileSessions, AreAsTheirStepsTell) {
    steps.playAll(Korvex::Testing::linesOf("trace/sessions.txt", GetParam()));
}
INSTANTIATE_TEST_SUITE_P(TraceFiles, TraceFileSessions,
                         testing::ValuesIn(Korvex::Testing::sectionsOf("trace/sessions.txt")),
                         Korvex::Testing::nameOfSection);

TEST_F(TraceFilesTest, ARelativePathKeepsItsFolder) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder / "");
    EXPECT_TRUE(files.openTrace(7, 3, 1, "relative.txt", OLESTR("Client")));
    std::filesystem::current_path(before);
    files.write(1, "last");
    EXPECT_EQ(folder.text("relative.txt"), kHeader);
    EXPECT_THAT(folder.text("relative_1.txt"), HasSubstr("* last\n"));
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
