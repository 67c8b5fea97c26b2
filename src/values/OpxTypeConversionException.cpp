#include <korvex/native/OpxTypeConversionException.h>

#include <utility>

namespace OpxOpc {

OpxTypeConversionException::OpxTypeConversionException(std::int32_t reason, std::string message)
    : reason_(reason), message_(std::move(message)) {}

OpxTypeConversionException::~OpxTypeConversionException() = default;

const OLECHAR* OpxTypeConversionException::reasonName(std::int32_t reason) noexcept {
    switch (reason) {
        case kOverflow:
            return OLESTR("OVERFLOW");
        case kInvalidType:
            return OLESTR("INVALIDTYPE");
        case kInvalidConversion:
            return OLESTR("INVALIDCONVERSION");
        case kInvalidDate:
            return OLESTR("INVALIDDATE");
        case kNotSupported:
            return OLESTR("NOTSUPPORTED");
        default:
            return OLESTR("");
    }
}

}  // namespace OpxOpc
