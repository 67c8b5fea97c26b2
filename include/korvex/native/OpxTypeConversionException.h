// Thrown by strict conversions of native values.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include <korvex/export.h>
#include <korvex/text.h>

namespace OpxOpc {

/// Carries one of the reasons below. The value whose conversion failed keeps its content.
class KORVEX_OPC_API OpxTypeConversionException : public std::exception {
public:
    /// Why a conversion failed.
    enum Reason : std::int32_t {
        kOverflow = 0,           ///< outside the target's range
        kInvalidType = 1,        ///< text that is not entirely a number; a VARIANT that cannot be taken over
        kInvalidConversion = 2,  ///< no conversion between the two tags
        kInvalidDate = 3,        ///< a date that cannot be read or represented
        kNotSupported = 4,       ///< 64-bit unsigned to floating point
    };

    /// An exception with one of the reasons.
    explicit OpxTypeConversionException(std::int32_t reason, std::string message = {});
    /// A copy.
    OpxTypeConversionException(const OpxTypeConversionException&) = default;
    ~OpxTypeConversionException() override;

    /// UTF-8; empty for every reason but kNotSupported.
    const char* what() const noexcept override { return message_.c_str(); }
    /// The reason, one of Reason.
    std::int32_t reason() const noexcept { return reason_; }

    /// "OVERFLOW", "INVALIDTYPE", "INVALIDCONVERSION", "INVALIDDATE" or "NOTSUPPORTED"; empty for
    /// another number.
    static const OLECHAR* reasonName(std::int32_t reason) noexcept;

private:
    std::int32_t reason_;
    std::string message_;
};

}  // namespace OpxOpc
