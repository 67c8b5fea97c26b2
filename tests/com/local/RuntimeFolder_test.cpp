#include <gtest/gtest.h>

#include <thread>

#include "tests/com/local/LocalFixture.h"

namespace Korvex::Testing {
namespace {

using Com::RuntimeFolder;

using RuntimeFolders = Local;

TEST_F(RuntimeFolders, LiesWhereTheSystemHasRoomForTheUserAlone) {
    const Variable unnamed("KORVEX_OPC_RUNTIME", std::nullopt);
    const RuntimeFolder::Places places = {folder / "user", folder};
    const fs::path temporary = folder / ("korvex-opc-" + std::to_string(::geteuid()));
    EXPECT_EQ(RuntimeFolder::open(places).path(), temporary);
    fs::create_directory(folder / "user");
    for (const auto& [rights, expected] : {std::pair(0755u, temporary), std::pair(0700u, folder / "user/korvex-opc")}) {
        fs::permissions(folder / "user", fs::perms(rights));
        EXPECT_EQ(RuntimeFolder::open(places).path(), expected);
        EXPECT_EQ(fs::status(expected).permissions(), fs::perms(0700));
    }
}

TEST_F(RuntimeFolders, IsRefusedIfItIsNotTheUsersAlone) {
    const auto codeOfOpening = [] {
        const auto failure = failureOf([] { RuntimeFolder::open(); });
        return failure ? failure->code() : S_OK;
    };
    EXPECT_EQ(codeOfOpening(), S_OK) << "which makes it";
    for (const unsigned rights : {0755u, 0770u, 0701u, 0500u}) {
        fs::permissions(runtime, fs::perms(rights));
        EXPECT_EQ(codeOfOpening(), E_ACCESSDENIED) << rights;
    }
    fs::permissions(runtime, fs::perms(0700));
    EXPECT_EQ(codeOfOpening(), S_OK);
    if (::geteuid() == 0 && ::chown(runtime.c_str(), 65534, static_cast<gid_t>(-1)) == 0) {
        EXPECT_EQ(codeOfOpening(), E_ACCESSDENIED) << "another user's";
    }
    fs::remove(runtime);
    fs::create_directory(folder / "elsewhere");
    fs::permissions(folder / "elsewhere", fs::perms(0700));
    fs::create_directory_symlink(folder / "elsewhere", runtime);
    EXPECT_EQ(codeOfOpening(), E_ACCESSDENIED) << "a link";
}

TEST_F(RuntimeFolders, ALockIsHeldByOneUntilItsDescriptorCloses) {
    const auto one = RuntimeFolder::open();
    const auto other = RuntimeFolder::open();
    auto held = one.tryLock("turn");
    ASSERT_TRUE(held);
    EXPECT_FALSE(other.tryLock("turn"));
    EXPECT_TRUE(other.tryLock("another"));
    held.reset();
    EXPECT_TRUE(other.tryLock("turn"));
}

}  // namespace
}  // namespace Korvex::Testing
