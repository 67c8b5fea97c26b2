// printf formats of trace lines, checked against their arguments when they are compiled.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include <korvex/text.h>

namespace OpxOpc {

// One argument of a trace line: text in UTF-16 or UTF-8, an integer, or a real number.
class TraceArgument {
public:
    enum class Kind { kNone, kWide, kNarrow, kInteger, kReal };

    constexpr TraceArgument() noexcept = default;
    constexpr TraceArgument(OpxStringView text) noexcept : kind_(Kind::kWide), wide_(text) {}
    TraceArgument(const OpxString& text) noexcept : TraceArgument(OpxStringView(text)) {}
    constexpr TraceArgument(const OLECHAR* text) noexcept
        : TraceArgument(text ? OpxStringView(text) : OpxStringView()) {}
    constexpr TraceArgument(std::string_view text) noexcept : kind_(Kind::kNarrow), narrow_(text) {}
    TraceArgument(const std::string& text) noexcept : TraceArgument(std::string_view(text)) {}
    constexpr TraceArgument(const char* text) noexcept
        : TraceArgument(text ? std::string_view(text) : std::string_view()) {}
    constexpr TraceArgument(double value) noexcept : kind_(Kind::kReal), real_(value) {}
    template <std::integral T>
    constexpr TraceArgument(T value) noexcept : kind_(Kind::kInteger), integer_(static_cast<std::int64_t>(value)) {}
    template <typename T>
    requires std::is_enum_v<T>
    constexpr TraceArgument(T value) noexcept : kind_(Kind::kInteger), integer_(static_cast<std::int64_t>(value)) {}

    Kind kind() const noexcept { return kind_; }
    OpxStringView wide() const noexcept { return wide_; }
    std::string_view narrow() const noexcept { return narrow_; }
    std::int64_t integer() const noexcept { return integer_; }
    double real() const noexcept { return real_; }

private:
    Kind kind_ = Kind::kNone;
    OpxStringView wide_;
    std::string_view narrow_;
    std::int64_t integer_ = 0;
    double real_ = 0;
};

namespace detail {

template <typename T>
consteval TraceArgument::Kind traceKindOf() {
    if constexpr (std::is_convertible_v<const T&, OpxStringView>)
        return TraceArgument::Kind::kWide;
    else if constexpr (std::is_convertible_v<const T&, std::string_view>)
        return TraceArgument::Kind::kNarrow;
    else if constexpr (std::is_floating_point_v<T>)
        return TraceArgument::Kind::kReal;
    else
        return TraceArgument::Kind::kInteger;
}

// A conversion specification, the part of a format that begins with '%'.
struct TraceConversion {
    bool zeros = false;  // fill up with zeros, not blanks
    std::size_t width = 0;
    bool isLong = false;
    char letter = '\0';

    constexpr TraceArgument::Kind kind() const {
        switch (letter) {
            case 'd':
            case 'u':
            case 'x':
            case 'X':
                return TraceArgument::Kind::kInteger;
            case 'f':
            case 'g':
                return TraceArgument::Kind::kReal;
            case 's':
                return isLong ? TraceArgument::Kind::kWide : TraceArgument::Kind::kNarrow;
            default:
                return TraceArgument::Kind::kNone;
        }
    }
};

// Takes the conversion that `format` stands at, behind its '%'.
constexpr TraceConversion takeConversion(const char*& format) {
    TraceConversion conversion;
    if (*format == '0') conversion.zeros = true, ++format;
    for (; *format >= '0' && *format <= '9'; ++format) {
        conversion.width = conversion.width * 10 + static_cast<std::size_t>(*format - '0');
    }
    if (*format == 'l') conversion.isLong = true, ++format;
    conversion.letter = *format;
    if (*format != '\0') ++format;
    return conversion;
}

// The kind of argument that the next conversion of `format` takes, kNone at its end; moves `format`
// behind it. Not a constant expression for a conversion that is not known.
constexpr TraceArgument::Kind nextConversion(const char*& format) {
    while (*format != '\0') {
        if (*format++ != '%') continue;
        if (*format == '%') {
            ++format;
            continue;
        }
        const TraceArgument::Kind kind = takeConversion(format).kind();
        if (kind == TraceArgument::Kind::kNone) throw "unknown conversion in a trace format";
        return kind;
    }
    return TraceArgument::Kind::kNone;
}

}  // namespace detail

// A format that fits its arguments, or the program does not compile.
template <typename... Args>
class TraceFormat {
public:
    consteval TraceFormat(const char* text) : text_(text) {
        const char* rest = text;
        const bool fits = ((detail::nextConversion(rest) == detail::traceKindOf<Args>()) && ...);
        if (!fits || detail::nextConversion(rest) != TraceArgument::Kind::kNone) {
            throw "the trace format does not fit its arguments";
        }
    }
    constexpr const char* text() const noexcept { return text_; }

private:
    const char* text_;
};

}  // namespace OpxOpc
