// Modes, links and pipes.
#include <sys/stat.h>
#include <unistd.h>

#include "com/OutputFile.h"
#include "tests/com/TestFolder.h"

namespace Korvex::Testing {
namespace {

namespace fs = std::filesystem;

using OutputFileTest = TestFolder;

TEST_F(OutputFileTest, IsNotForAllToRead) {
    const mode_t before = ::umask(0);
    Com::OutputFile file;
    EXPECT_TRUE(file.open(folder / "file.txt"));
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat((folder / "file.txt").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(OutputFileTest, APipeIsNotWaitedFor) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Com::OutputFile().open(folder / "pipe"));
}

TEST_F(OutputFileTest, FollowsOwnLinksAndNoOtherUsers) {
    create("target.txt", "old\n");
    fs::create_symlink("target.txt", folder / "link.txt");
    Com::OutputFile file;
    ASSERT_TRUE(file.open(folder / "link.txt"));
    file.write("new\n");
    EXPECT_EQ(text("target.txt"), "old\nnew\n");
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give a link to another user";
    ASSERT_EQ(::lchown((folder / "link.txt").c_str(), 1, 1), 0);
    EXPECT_FALSE(file.open(folder / "link.txt"));
    EXPECT_EQ(text("target.txt"), "old\nnew\n");
}

}  // namespace
}  // namespace Korvex::Testing
