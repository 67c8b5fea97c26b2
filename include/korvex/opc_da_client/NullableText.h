// A text that may be null.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

// What methods take and records hold as text: UTF-16 as OLESTR("...") and OpxString, or UTF-8 as
// "..." and std::string, which is converted. A null pointer is the null text; "" is not null.
class NullableText {
public:
    // Null.
    NullableText() noexcept = default;
    NullableText(std::nullptr_t) noexcept {}

    NullableText(OpxString text) noexcept : text_(std::move(text)) {}
    NullableText(OpxStringView text) : text_(OpxString(text)) {}
    NullableText(const OLECHAR* text) {
        if (text) text_ = text;
    }

    NullableText(std::string_view utf8) : text_(fromUtf8(utf8)) {}
    NullableText(const std::string& utf8) : text_(fromUtf8(utf8)) {}
    NullableText(const char* utf8) {
        if (utf8) text_ = fromUtf8(utf8);
    }

    bool isNull() const noexcept { return !text_.has_value(); }

    // Throws std::bad_optional_access if this is null.
    const OpxString& value() const { return text_.value(); }

    // The text, or "" if this is null.
    const OpxString& valueOrEmpty() const noexcept {
        static const OpxString kEmpty;
        return text_ ? *text_ : kEmpty;
    }

    friend bool operator==(const NullableText&, const NullableText&) = default;

private:
    std::optional<OpxString> text_;
};

}  // namespace Korvex::OPC::OpcDaClient
