#include "com/visible_text.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "com/com.h"

namespace Korvex::Testing {
namespace {

TEST(VisibleText, EscapesWhatMovesTheCursorEndsALineOrTurnsTheDirection) {
    for (unsigned c = 0; c <= 0xFFFF; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        const bool escaped = c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x61C || c == 0x200E || c == 0x200F ||
                             (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
        const std::string text = toUtf8(OpxString(1, static_cast<OLECHAR>(c)));
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04X", c);
        ASSERT_EQ(Com::visibleText("<" + text + ">"), "<" + (escaped ? escape : text) + ">") << c;
    }
}

TEST(VisibleText, LeavesOtherBytesAsTheyAre) {
    for (const std::string text : {"", "C:\\n", "\xF0\x9F\x98\x80", "\x80\xC2", "\xE2\x80", "\xFF\xE2\x80x"}) {
        EXPECT_EQ(Com::visibleText(text), text);
    }
}

}  // namespace
}  // namespace Korvex::Testing
