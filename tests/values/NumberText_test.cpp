#include <gtest/gtest.h>

#include "tests/support/rows.h"
#include "values/NumberText.h"

namespace OpxOpc {
namespace {

TEST(NumberText, RealsParseUpToTheFirstForeignCharacter) {
    for (auto row : Korvex::Testing::rowsOf("values/real_texts.txt", 3)) {
        if (row[0][0] == '~') row[0].replace(0, 1, " \t");
        const auto parsed = parseDouble(fromUtf8(row[0]));
        EXPECT_EQ(parsed.value, std::stod(row[1])) << row[0];
        EXPECT_EQ(parsed.consumed, std::stoul(row[2])) << row[0];
        EXPECT_FALSE(parsed.outOfRange) << row[0];
    }
    EXPECT_EQ(parseDouble(OLESTR("4e-320")).value, 4e-320);
    EXPECT_FALSE(parseDouble(OLESTR("4e-320")).outOfRange);
    for (const OLECHAR* text : {OLESTR("1e309"), OLESTR("-1e309"), OLESTR("1e-400"), OLESTR("0.001e-330"),
                                OLESTR("1e99999999999999999999")}) {
        EXPECT_TRUE(parseDouble(text).outOfRange) << toUtf8(text);
    }
}

TEST(NumberText, RealsPrintAsPrintfDoesWithOneFormForTheSpecialValues) {
    for (const auto& row : Korvex::Testing::rowsOf("values/printed_reals.txt", 3))
        EXPECT_EQ(toUtf8(realText(std::stod(row[0]), std::stoi(row[1]))), row[2]);
}

}  // namespace
}  // namespace OpxOpc
