#include "core/ServerUrl.h"

#include <gtest/gtest.h>

namespace OpxOpc {
namespace {

struct UrlCase {
    const OLECHAR* url;
    const OLECHAR* host;
    const OLECHAR* progId;
    const OLECHAR* clsidText;
    bool hasClsidPart;
};

TEST(ServerUrl, SplitsAtSlashesAndKnowsThisMachine) {
    const UrlCase cases[] = {
        {OLESTR("opcda://host/Some.Server.1/{11111111-2222-3333-4444-555555555555}"), OLESTR("host"),
         OLESTR("Some.Server.1"), OLESTR("{11111111-2222-3333-4444-555555555555}"), true},
        {OLESTR("opcda:///Some.Server.1/x"), OLESTR(""), OLESTR("Some.Server.1"), OLESTR("x"), true},
        {OLESTR("opcda://localhost/Some.Server.1"), OLESTR(""), OLESTR("Some.Server.1"), OLESTR(""), false},
        {OLESTR("opcda://127.0.0.1/Some.Server.1"), OLESTR(""), OLESTR("Some.Server.1"), OLESTR(""), false},
        {OLESTR("opcda://LocalHOST/Some.Server.1"), OLESTR(""), OLESTR("Some.Server.1"), OLESTR(""), false},
        {OLESTR("opcda://localhost1/Some.Server.1"), OLESTR("localhost1"), OLESTR("Some.Server.1"), OLESTR(""), false},
        {OLESTR("opcda://host/ABC/"), OLESTR("host"), OLESTR("ABC"), OLESTR(""), true},
        {OLESTR("opcda://host/ABC/a/b"), OLESTR("host"), OLESTR("ABC"), OLESTR("a/b"), true},
        {OLESTR("opcda:x/y/host/ABC"), OLESTR("host"), OLESTR("ABC"), OLESTR(""), false},
    };
    for (const UrlCase& c : cases) {
        SCOPED_TRACE(toUtf8(c.url));
        const auto url = ServerUrl::parse(c.url);
        ASSERT_TRUE(url);
        EXPECT_EQ(toUtf8(url->host), toUtf8(c.host));
        EXPECT_EQ(toUtf8(url->progId), toUtf8(c.progId));
        EXPECT_EQ(toUtf8(url->clsidText), toUtf8(c.clsidText));
        EXPECT_EQ(url->hasClsidPart, c.hasClsidPart);
    }
}

TEST(ServerUrl, RefusesAUrlWhoseThirdSlashIsMissingOrTooCloseToTheEnd) {
    for (const OLECHAR* url : {OLESTR("opcda://host/X"), OLESTR("opcda://host/AB"), OLESTR("opcda://hostname"),
                               OLESTR("opcda:hostname"), OLESTR("")}) {
        EXPECT_FALSE(ServerUrl::parse(url)) << toUtf8(url);
    }
    EXPECT_TRUE(ServerUrl::parse(OLESTR("opcda://host/ABC")));
}

TEST(ServerUrl, OnlyABracedGuidIsLongEnoughToSkipTheLookUp) {
    EXPECT_FALSE(ServerUrl::parse(OLESTR("opcda:///P/{11111111-2222-3333-4444-555555555555}"))->needsLookup());
    EXPECT_TRUE(ServerUrl::parse(OLESTR("opcda:///P/{11111111-2222-3333-4444-55555555555}"))->needsLookup());
    EXPECT_TRUE(ServerUrl::parse(OLESTR("opcda:///Prog"))->needsLookup());
}

}  // namespace
}  // namespace OpxOpc
