#include "com/OutputFile.h"

#include "tests/com/TestFolder.h"

namespace Korvex::Testing {
namespace {

namespace fs = std::filesystem;

using OutputFileTest = TestFolder;

TEST_F(OutputFileTest, IsAppendedToReadAndMovedWhileItIsOpen) {
    create("file.txt", "old\n");
    Com::OutputFile file;
    EXPECT_FALSE(file.open(folder / "absent" / "file.txt"));
    EXPECT_FALSE(file.open(folder));
    EXPECT_FALSE(file.isOpen());
    ASSERT_TRUE(file.open(folder / "file.txt"));
    file.write("first\n");
    EXPECT_EQ(text("file.txt"), "old\nfirst\n");
    fs::rename(folder / "file.txt", folder / "moved.txt");
    file.write("second\nthird\n");
    ASSERT_TRUE(file.open(folder / "file.txt"));
    file.write("fourth\n");
    EXPECT_EQ(text("moved.txt"), "old\nfirst\nsecond\nthird\n");
    EXPECT_EQ(text("file.txt"), "fourth\n");
    file.close();
    EXPECT_FALSE(file.isOpen());
}

}  // namespace
}  // namespace Korvex::Testing
