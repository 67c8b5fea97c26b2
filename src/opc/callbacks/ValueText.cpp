#include "opc/callbacks/ValueText.h"

namespace OpxOpc {
namespace {

constexpr const OLECHAR* kNoText = OLESTR("<Invalid Data>");

}  // namespace

OpxString valueText(const OpxVariant& value) {
    try {
        return value.toString();
    } catch (const OpxTypeConversionException&) {
        return kNoText;
    }
}

OpxString timeText(const OpxDate& time) {
    try {
        return time.toDateTimeText(OpxDate::kUtc);
    } catch (const OpxTypeConversionException&) {
        return kNoText;
    }
}

}  // namespace OpxOpc
