#include "parse_value.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <system_error>
#include <vector>

#include <korvex/native/OpxDate.h>
#include <korvex/opc_da_client/DateTime.h>
#include <korvex/opc_da_client/Decimal.h>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

namespace {

using Kind = Type::Kind;

constexpr Kind kKinds[] = {Kind::Boolean, Kind::Character, Kind::Int8,   Kind::Int16,    Kind::Int32,
                           Kind::Int64,   Kind::UInt8,     Kind::UInt16, Kind::UInt32,   Kind::UInt64,
                           Kind::Float,   Kind::Double,    Kind::String, Kind::DateTime, Kind::Decimal};

[[noreturn]] void refuse(const std::string& text, const char* type) {
    throw ValueError("\"" + text + "\" is not " + type);
}

template <typename T>
T parse(const std::string& text) {
    T number{};
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range) refuse(text, "within the range of the type");
    if (error != std::errc() || stopped != end) refuse(text, "a number of the type");
    return number;
}

template <>
OpxString parse<OpxString>(const std::string& text) {
    return fromUtf8(text);
}

template <>
bool parse<bool>(const std::string& text) {
    if (text == "true" || text == "1") return true;
    if (text == "false" || text == "0") return false;
    refuse(text, "true or false");
}

template <>
char16_t parse<char16_t>(const std::string& text) {
    const OpxString units = fromUtf8(text);
    if (units.size() != 1) refuse(text, "a single character");
    return static_cast<char16_t>(units.front());
}

template <>
Decimal parse<Decimal>(const std::string& text) {
    try {
        return Decimal::fromText(text);
    } catch (const std::exception&) {
        refuse(text, "a decimal number");
    }
}

template <>
DateTime parse<DateTime>(const std::string& text) {
    try {
        const OpxOpc::OpxDate date = OpxOpc::OpxDate::fromIsoText(fromUtf8(text));
        return DateTime(std::chrono::sys_time<std::chrono::milliseconds>(std::chrono::seconds(date.time()) +
                                                                         std::chrono::milliseconds(date.millitm())));
    } catch (const std::exception&) {
        refuse(text, "a date such as 2024-03-01T12:30:00Z");
    }
}

// The elements of "{1|2|3}".
std::vector<std::string> elementsOf(const std::string& text) {
    if (text.size() < 2 || text.front() != '{' || text.back() != '}') refuse(text, "an array such as {1|2|3}");
    std::vector<std::string> elements;
    if (text.size() == 2) return elements;
    std::size_t begin = 1;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] != '|' && i + 1 != text.size()) continue;
        elements.push_back(text.substr(begin, i - begin));
        begin = i + 1;
    }
    return elements;
}

template <typename T>
Object parseAs(const std::string& text, bool isArray) {
    if (!isArray) return Object(parse<T>(text));
    std::vector<T> list;
    for (const std::string& element : elementsOf(text)) list.push_back(parse<T>(element));
    return Object(std::move(list));
}

Object parseObjects(const std::string& text) {
    std::vector<Object> list;
    for (const std::string& element : elementsOf(text)) list.emplace_back(element);
    return Object(std::move(list));
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

}  // namespace

Object parseValue(const std::string& text, const Type& type) {
    switch (type.kind()) {
        case Kind::Boolean:
            return parseAs<bool>(text, type.isArray());
        case Kind::Character:
            return parseAs<char16_t>(text, type.isArray());
        case Kind::Int8:
            return parseAs<std::int8_t>(text, type.isArray());
        case Kind::Int16:
            return parseAs<std::int16_t>(text, type.isArray());
        case Kind::Int32:
            return parseAs<std::int32_t>(text, type.isArray());
        case Kind::Int64:
            return parseAs<std::int64_t>(text, type.isArray());
        case Kind::UInt8:
            return parseAs<std::uint8_t>(text, type.isArray());
        case Kind::UInt16:
            return parseAs<std::uint16_t>(text, type.isArray());
        case Kind::UInt32:
            return parseAs<std::uint32_t>(text, type.isArray());
        case Kind::UInt64:
            return parseAs<std::uint64_t>(text, type.isArray());
        case Kind::Float:
            return parseAs<float>(text, type.isArray());
        case Kind::Double:
            return parseAs<double>(text, type.isArray());
        case Kind::String:
            return parseAs<OpxString>(text, type.isArray());
        case Kind::DateTime:
            return parseAs<DateTime>(text, type.isArray());
        case Kind::Decimal:
            return parseAs<Decimal>(text, type.isArray());
        case Kind::None:
        case Kind::Object:
        case Kind::Type:
        case Kind::Application:
            break;
    }
    return type.isArray() ? parseObjects(text) : Object(text);
}

Type parseType(const std::string& name) {
    for (const Kind kind : kKinds) {
        for (const Type& type : {Type::scalar(kind), Type::arrayOf(kind)}) {
            if (lowered(toUtf8(type.name())) == lowered(name)) return type;
        }
    }
    throw ValueError("\"" + name + "\" is not the name of a type");
}

}  // namespace Korvex::Tool
