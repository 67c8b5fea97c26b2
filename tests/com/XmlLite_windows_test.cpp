// Which XmlLite reads XML.
#include <cstdlib>

#include "tests/com/TestFolder.h"

namespace Korvex::Testing {
namespace {

using XmlLite = TestFolder;

// The reader is looked for once in a process.
[[noreturn]] void readBesideAnotherReader(const std::filesystem::path& folder) {
    SetDllDirectoryW(folder.c_str());
    const auto found = Com::readXmlAttributes(folder / "any.xml", {OLESTR("Trace")});
    std::exit(found && found->count(OLESTR("Trace")) == 1 ? 0 : 1);
}

TEST_F(XmlLite, IsTheSystems) {
    create("xmllite.dll", "another one");
    create("any.xml", "<Any><Trace/></Any>");
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(readBesideAnotherReader(folder), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Korvex::Testing
