#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include <korvex/opc_da_client/Object.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

using Kind = Type::Kind;

// A handle of an application's own.
struct Tag {
    std::string name;
    friend bool operator==(const Tag&, const Tag&) = default;
};

enum class Color : std::uint8_t { Red, Green };

struct NotHashable {
    friend bool operator==(const NotHashable&, const NotHashable&) = default;
};

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient

template <>
struct std::hash<Korvex::OPC::OpcDaClient::Tag> {
    std::size_t operator()(const Korvex::OPC::OpcDaClient::Tag& tag) const {
        return std::hash<std::string>()(tag.name);
    }
};

namespace Korvex::OPC::OpcDaClient {
namespace {

TEST(Object, KeepsEachKindOfValueUnderItsType) {
    struct Case {
        Object value;
        Type type;
        const char* text;
    };
    const Case cases[] = {
        {Object(), Type(), ""},
        {nullptr, Type(), ""},
        {true, Type::scalar(Kind::Boolean), "true"},
        {std::int8_t{-1}, Type::scalar(Kind::Int8), "-1"},
        {std::uint8_t{200}, Type::scalar(Kind::UInt8), "200"},
        {-5, Type::scalar(Kind::Int32), "-5"},
        {5u, Type::scalar(Kind::UInt32), "5"},
        {-5ll, Type::scalar(Kind::Int64), "-5"},
        {~0ull, Type::scalar(Kind::UInt64), "18446744073709551615"},
        {0.1f, Type::scalar(Kind::Float), "0.1"},
        {0.1, Type::scalar(Kind::Double), "0.1"},
        {std::nan(""), Type::scalar(Kind::Double), "nan"},
        {u'ß', Type::scalar(Kind::Character), "ß"},
        {OLESTR("x")[0], Type::scalar(Kind::Character), "x"},
        {"UTF-8 ß", Type::scalar(Kind::String), "UTF-8 ß"},
        {std::string("text"), Type::scalar(Kind::String), "text"},
        {OLESTR("text"), Type::scalar(Kind::String), "text"},
        {OpxString(OLESTR("text")), Type::scalar(Kind::String), "text"},
        {Decimal::fromText("-1.50"), Type::scalar(Kind::Decimal), "-1.50"},
        {DateTime(), Type::scalar(Kind::DateTime), "0001-01-01T00:00:00.000Z"},
        {Type::of<std::vector<Object>>(), Type::scalar(Kind::Type), "Object[]"},
        {Tag{"a"}, Type::scalar(Kind::Application), "(application value)"},
        {std::vector<bool>{true, false}, Type::arrayOf(Kind::Boolean), "{true|false}"},
        {std::vector<long long>{1, -2}, Type::arrayOf(Kind::Int64), "{1|-2}"},
        {std::vector<std::string>{"a", "b"}, Type::arrayOf(Kind::String), "{a|b}"},
        {std::vector<Object>{1, "b", nullptr}, Type::arrayOf(Kind::Object), "{1|b|}"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.value.type(), c.type) << c.text;
        EXPECT_EQ(toUtf8(c.value.toText()), c.text);
        EXPECT_EQ(c.value.isNull(), c.type.isNull()) << c.text;
    }
}

TEST(Object, AcceptsOnlyWhatItCanCompareAndHash) {
    static_assert(std::convertible_to<Tag, Object>);
    static_assert(std::convertible_to<Color, Object>);
    static_assert(std::convertible_to<std::shared_ptr<NotHashable>, Object>);
    static_assert(!std::convertible_to<NotHashable, Object>);
    static_assert(!std::convertible_to<std::vector<Tag>, Object>);
    static_assert(!std::convertible_to<char, Object>);
    static_assert(!std::convertible_to<long double, Object>);
    static_assert(std::convertible_to<const char*, Object> && std::convertible_to<OpxStringView, Object>);
}

template <typename Character>
constexpr bool kIsTakenAsText =
    std::convertible_to<const Character*, Object> || std::convertible_to<Character*, Object> ||
    std::convertible_to<std::basic_string<Character>, Object> ||
    std::convertible_to<std::basic_string_view<Character>, Object> || std::convertible_to<Character (&)[2], Object>;

TEST(Object, AcceptsTextOfItsOwnTwoCharacterTypesOnly) {
    static_assert(kIsTakenAsText<char> && kIsTakenAsText<OLECHAR>);
    static_assert(!kIsTakenAsText<char8_t> && !kIsTakenAsText<char32_t>);
    static_assert(kIsTakenAsText<wchar_t> == std::same_as<wchar_t, OLECHAR>);
    static_assert(kIsTakenAsText<char16_t> == std::same_as<char16_t, OLECHAR>);
}

TEST(Object, GivesItsValueBackAsTheTypeItIs) {
    const Object number = 5;
    EXPECT_EQ(number.get<std::int32_t>(), 5);
    EXPECT_EQ(number.tryGet<std::int64_t>(), nullptr);
    EXPECT_THROW(number.get<double>(), std::bad_cast);
    EXPECT_THROW(Object().get<double>(), std::bad_cast);
    EXPECT_EQ(Object(7ll).get<std::int64_t>(), Object(std::int64_t{7}).get<long long>());
    EXPECT_EQ(Object("ß").get<OpxString>(), OpxString(OLESTR("\u00DF")));
    EXPECT_EQ(Object(Tag{"a"}).get<Tag>().name, "a");
    EXPECT_EQ(Object(std::vector<std::string>{"a"}).get<std::vector<OpxString>>().at(0), OpxString(OLESTR("a")));
}

TEST(Object, NullPointersAndNullTextsAreNull) {
    EXPECT_TRUE(Object(static_cast<const char*>(nullptr)).isNull());
    EXPECT_TRUE(Object(static_cast<const OLECHAR*>(nullptr)).isNull());
    EXPECT_TRUE(Object(NullableText()).isNull());
    EXPECT_FALSE(Object("").isNull());
}

TEST(Object, EqualValuesAreEqualAndHashAlike) {
    constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();
    const std::pair<Object, Object> equal[] = {
        {Object(), nullptr},
        {"text", OLESTR("text")},
        {0.0, -0.0},
        {kNotANumber, -kNotANumber},
        {Decimal::fromText("1.50"), Decimal::fromText("1.5")},
        {Decimal::fromText("0"), Decimal::fromParts(true, 0, 0, 3)},
        {Tag{"a"}, Tag{"a"}},
        {Color::Green, Color::Green},
        {std::vector<double>{1, kNotANumber}, std::vector<double>{1, kNotANumber}},
        {std::vector<Object>{1, "b"}, std::vector<Object>{1, "b"}},
    };
    for (const auto& [a, b] : equal) {
        EXPECT_EQ(a, b) << toUtf8(a.toText());
        EXPECT_EQ(a.hashCode(), b.hashCode()) << toUtf8(a.toText());
    }
}

TEST(Object, ValuesOfDifferentTypesOrContentDiffer) {
    const std::pair<Object, Object> different[] = {{Object(), 0},
                                                   {1, 1u},
                                                   {1, 1ll},
                                                   {1, 2},
                                                   {"", nullptr},
                                                   {1.0f, 1.0},
                                                   {Tag{"a"}, Tag{"b"}},
                                                   {std::vector<int>{1}, std::vector<int>{1, 2}},
                                                   {std::vector<int>{1}, std::vector<Object>{1}}};
    for (const auto& [a, b] : different) EXPECT_NE(a, b) << toUtf8(a.toText());
}

// Items whose handles share a hash code are told apart no more, so the usual handles must not.
TEST(Object, UsualHandlesHaveHashCodesOfTheirOwn) {
    EXPECT_EQ(Object().hashCode(), 0u);
    EXPECT_EQ(Object(-1).hashCode(), 0xFFFFFFFFu);
    EXPECT_EQ(Object(std::int64_t{-1}).hashCode(), 0xFFFFFFFFu);
    EXPECT_NE(Object(std::int64_t{1} << 32).hashCode(), Object(std::int64_t{0}).hashCode());
    EXPECT_EQ(Object(std::uint64_t{0xFFFFFFFF}).hashCode() == Object(std::uint64_t{0}).hashCode(), false);

    std::vector<std::uint32_t> seen;
    for (int i = 0; i < 1000; ++i) seen.push_back(Object("Item" + std::to_string(i)).hashCode());
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
}

TEST(Object, CopiesShareTheValue) {
    const Object original = std::vector<int>{1, 2, 3};
    const Object copy = original;
    EXPECT_EQ(&original.get<std::vector<int>>(), &copy.get<std::vector<int>>());
}

TEST(Type, NamesItself) {
    EXPECT_EQ(toUtf8(Type().name()), "");
    EXPECT_EQ(toUtf8(Type::of<long long>().name()), "Int64");
    EXPECT_EQ(toUtf8(Type::of<Object>().name()), "Object");
    EXPECT_EQ(toUtf8(Type::of<std::vector<DateTime>>().name()), "DateTime[]");
    EXPECT_EQ(toUtf8(Type::arrayOf(Kind::None).name()), "Array");
    EXPECT_NE(Type::of<std::vector<float>>(), Type::of<float>());
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
