// A text that may be null.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// The text type of methods and records, which may be null: UTF-16 as OLESTR("...") and OpxString, or UTF-8 as
/// "..." and std::string, which is converted. A null pointer is the null text; "" is not null.
class NullableText {
public:
    /// Null.
    NullableText() noexcept = default;
    /// Null.
    NullableText(std::nullptr_t) noexcept {}

    /// A text in UTF-16.
    NullableText(OpxString text) noexcept : text_(std::move(text)) {}
    /// A copy of a text in UTF-16.
    NullableText(OpxStringView text) : text_(OpxString(text)) {}
    /// A copy of a text in UTF-16; a null pointer is the null text.
    NullableText(const OLECHAR* text) {
        if (text) text_ = text;
    }

    /// Converted from UTF-8.
    NullableText(std::string_view utf8) : text_(fromUtf8(utf8)) {}
    /// Converted from UTF-8.
    NullableText(const std::string& utf8) : text_(fromUtf8(utf8)) {}
    /// Converted from UTF-8; a null pointer is the null text.
    NullableText(const char* utf8) {
        if (utf8) text_ = fromUtf8(utf8);
    }

    /// Whether this is the null text, which "" is not.
    bool isNull() const noexcept { return !text_.has_value(); }

    /// Throws std::bad_optional_access if this is null.
    const OpxString& value() const { return text_.value(); }

    /// The text, or "" if this is null.
    const OpxString& valueOrEmpty() const noexcept {
        static const OpxString kEmpty;
        return text_ ? *text_ : kEmpty;
    }

    /// Whether both are null, or the same text.
    friend bool operator==(const NullableText&, const NullableText&) = default;

private:
    std::optional<OpxString> text_;
};

}  // namespace Korvex::OPC::OpcDaClient
