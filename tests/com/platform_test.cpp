#include "com/platform.h"

#include <cstdlib>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

namespace Korvex::Testing {
namespace {

namespace fs = std::filesystem;

class XmlFile {
public:
    explicit XmlFile(const std::string& content)
        : path_(fs::temp_directory_path() /
                ("korvex-platform-test-" + std::to_string(Com::currentThreadId()) + ".xml")) {
        std::ofstream(path_, std::ios::binary) << content;
    }
    ~XmlFile() { fs::remove(path_); }
    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

TEST(XmlAttributes, AreThoseOfTheDocumentElementsChildren) {
    const XmlFile file(
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!-- note -->\n<Any>\n"
        "  <Deeper><Trace Level=\"1\"/></Deeper>\n"
        "  <Trace Level=\"6\" Name=\"Gr\xC3\xBC\xC3\x9F &amp; so\"></Trace>\n  <Trace Level=\"7\"/>\n  "
        "<Empty/>\n</Any>\n");
    const auto found = Com::readXmlAttributes(file.path(), {OLESTR("Trace"), OLESTR("Empty"), OLESTR("Absent")});
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 2u);
    const auto& trace = found->at(OLESTR("Trace"));
    EXPECT_EQ(toUtf8(trace.at(OLESTR("Level"))), "6");
    EXPECT_EQ(toUtf8(trace.at(OLESTR("Name"))), "Gr\xC3\xBC\xC3\x9F & so");
    EXPECT_TRUE(found->at(OLESTR("Empty")).empty());
}

TEST(XmlAttributes, AFileThatIsNoXmlCountsAsNone) {
    for (const char* content : {"", "text", "<Any><Trace></Any>", "<Any><Trace/>", "<Any/><Trace"}) {
        SCOPED_TRACE(content);
        const XmlFile file(content);
        EXPECT_FALSE(Com::readXmlAttributes(file.path(), {OLESTR("Trace")}));
    }
    EXPECT_FALSE(Com::readXmlAttributes("no such file.xml", {OLESTR("Trace")}));
}

TEST(Time, MovesOnAndHasALocalCalendar) {
    const Com::ZonedTime before = Com::currentTime();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const Com::ZonedTime after = Com::currentTime();
    const auto inMilliseconds = [](const Com::ZonedTime& time) { return time.seconds * 1000 + time.milliseconds; };
    EXPECT_GE(inMilliseconds(after) - inMilliseconds(before), 15);
    EXPECT_GT(before.seconds, 1'700'000'000);
    EXPECT_LT(before.milliseconds, 1000);
    EXPECT_LT(std::abs(before.minutesWest), 16 * 60);

    const auto local = Com::localCalendarTime(before.seconds);
    ASSERT_TRUE(local);
    const int shift = -before.minutesWest + (before.daylightSaving ? 60 : 0);
    const std::int64_t localMinute = (before.seconds / 60 + shift) % 60;
    EXPECT_EQ(local->minute, localMinute);
    EXPECT_GE(local->year, 2024);
}

TEST(Process, KnowsItsFilesThreadsAndVariables) {
    static const char anchor = 0;
    EXPECT_TRUE(fs::exists(Com::programPath()));
    EXPECT_TRUE(fs::equivalent(Com::modulePathOf(&anchor), Com::programPath()));
    std::uint32_t other = 0;
    std::thread([&] { other = Com::currentThreadId(); }).join();
    EXPECT_NE(other, 0u);
    EXPECT_NE(other, Com::currentThreadId());
    EXPECT_TRUE(Com::environmentVariable("PATH"));
    EXPECT_FALSE(Com::environmentVariable("KORVEX_NO_SUCH_VARIABLE"));
    Com::pumpMessages();
}

}  // namespace
}  // namespace Korvex::Testing
