#include "trace/TraceText.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace OpxOpc {
namespace {

TEST(TraceText, FormatsEveryConversionAsPrintfDoes) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::pair<std::string, std::string> table[] = {
        {traceText("no conversion, 100%%"), "no conversion, 100%"},
        {traceText("%d|%d", -1, std::numeric_limits<std::int32_t>::min()), "-1|-2147483648"},
        {traceText("%u", -1), "4294967295"},
        {traceText("%x|%X|%lx", 0xABCD, 0xABCD, 0), "abcd|ABCD|0"},
        {traceText("[hr=0x%lx]", std::int32_t(-2147467259)), "[hr=0x80004005]"},
        {traceText("[hr=0x%lx]", std::int64_t(-2147467259)), "[hr=0x80004005]"},
        {traceText("%04X|%04X|%04X", 0xA3C, 0x12345, 0), "0A3C|12345|0000"},
        {traceText("%5d|%05d|%2d", -42, -42, -42), "  -42|-0042|-42"},
        {traceText("%f|%f", 1.5, -0.0000004), "1.500000|-0.000000"},
        {traceText("%f", 1e22), "10000000000000000000000.000000"},
        {traceText("%g|%g|%g", 100000.0, 1e6, 0.1f), "100000|1e+06|0.1"},
        {traceText("%f|%g", infinity, -infinity), "inf|-inf"},
        {traceText("%f", -std::numeric_limits<double>::quiet_NaN()), "nan"},
        {traceText("%s|%4s|", "caf\xC3\xA9", std::string("ab")), "caf\xC3\xA9|  ab|"},
        {traceText("%ls|%ls", OLESTR("caf\u00E9"), OpxString(OLESTR("\U0001F600"))), "caf\xC3\xA9|\xF0\x9F\x98\x80"},
        {traceText("%ls|%s|", static_cast<const OLECHAR*>(nullptr), static_cast<const char*>(nullptr)), "||"},
        {traceText("%ls|%s", OpxString(OLESTR("a\0b"), 3), std::string("a\0b", 3)), "a|a"},
        {traceText("%ls", OpxString(1, static_cast<OLECHAR>(0xD800))), "\xEF\xBF\xBD"},
        {traceText("%s", "%d"), "%d"},
        {traceText("%ls\t|%s", OLESTR("a\r\nb"), "\033[2J"), "a\\u000D\\u000Ab\t|\\u001B[2J"},
    };
    for (const auto& [text, expected] : table) EXPECT_EQ(text, expected);
}

TEST(TraceText, WritesTheLargestRealNumberInFull) {
    const std::string text = traceText("%f", -std::numeric_limits<double>::max());
    EXPECT_EQ(text.size(), std::string("-.000000").size() + 309);
    EXPECT_EQ(text.substr(0, 8), "-1797693");
}

TEST(TraceText, CutsALongTextBetweenCharacters) {
    const auto cut = [](std::size_t ascii, OpxStringView wide) {
        return traceText("%s%ls", std::string(ascii, 'x'), OpxString(wide));
    };
    const OpxString smiley = OLESTR("\U0001F600");
    EXPECT_EQ(cut(2000, OLESTR("")).size(), 2000u);
    EXPECT_EQ(cut(2001, OLESTR("")).size(), 2000u);
    EXPECT_EQ(cut(1996, smiley).size(), 2000u);
    EXPECT_EQ(cut(1997, smiley), std::string(1997, 'x'));
    EXPECT_EQ(cut(1999, OLESTR("\u00E9")), std::string(1999, 'x'));
    EXPECT_EQ(traceText("%ls", OpxString(1000000, static_cast<OLECHAR>(0x20AC))).size(), 1998u);
    EXPECT_GE(traceText("%s%s", std::string(1500, static_cast<char>(0x80)), std::string(1500, static_cast<char>(0x80)))
                  .size(),
              kLongestTraceText - 4)
        << "of bytes that are no text most are kept";
}

}  // namespace
}  // namespace OpxOpc
