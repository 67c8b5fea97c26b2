// Modes, links and pipes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>

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

TEST_F(OutputFileTest, AFullPipeLosesNothing) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const int pipe = ::open((folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(pipe, 0);
    Com::OutputFile file;
    ASSERT_TRUE(file.open(folder / "pipe"));
    ASSERT_EQ(::fcntl(pipe, F_SETFL, 0), 0);
    const std::string text(1'000'000, 'x');
    std::thread writer([&] {
        file.write(text);
        file.close();
    });
    std::size_t read = 0;
    char some[4096];
    for (ssize_t size; (size = ::read(pipe, some, sizeof some)) > 0;) read += static_cast<std::size_t>(size);
    writer.join();
    ::close(pipe);
    EXPECT_EQ(read, text.size());
}

TEST_F(OutputFileTest, FollowsOwnLinksAndNoOtherUsers) {
    create("target.txt", "old\n");
    fs::create_symlink("target.txt", folder / "link.txt");
    Com::OutputFile file;
    ASSERT_TRUE(file.open(folder / "link.txt"));
    file.write("new\n");
    EXPECT_EQ(text("target.txt"), "old\nnew\n");
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give a link or a file to another user";
    ASSERT_EQ(::chown((folder / "target.txt").c_str(), 1, 1), 0);
    EXPECT_FALSE(file.open(folder / "link.txt"));
    EXPECT_FALSE(file.open(folder / "target.txt"));
    ASSERT_EQ(::chown((folder / "target.txt").c_str(), 0, 0), 0);
    ASSERT_EQ(::lchown((folder / "link.txt").c_str(), 1, 1), 0);
    EXPECT_FALSE(file.open(folder / "link.txt"));
    EXPECT_EQ(text("target.txt"), "old\nnew\n");
}

}  // namespace
}  // namespace Korvex::Testing
