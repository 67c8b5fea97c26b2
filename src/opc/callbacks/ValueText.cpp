#include "opc/callbacks/ValueText.h"

namespace OpxOpc {
namespace {

constexpr const OLECHAR* kNoText = OLESTR("<Invalid Data>");

}  // namespace

OpxString traceText(const OpxVariant& value) {
    try {
        return value.toString();
    } catch (const OpxTypeConversionException&) {
        return kNoText;
    }
}

OpxString traceText(const OpxDate& time) {
    try {
        return time.toDateTimeText(OpxDate::kUtc);
    } catch (const OpxTypeConversionException&) {
        return kNoText;
    }
}

}  // namespace OpxOpc
