#include "sim/server/error_texts.h"

#include <algorithm>

#include "sim/Simulation.h"
#include "sim/com/Results.h"

namespace Korvex::Simulation {
namespace {

struct ErrorText {
    HRESULT code;
    OpxStringView text;
};

// The texts are the same in all locales.
const ErrorText kTexts[] = {
    {S_OK, OLESTR("The operation succeeded.")},
    {S_FALSE, OLESTR("The operation succeeded in part.")},
    {E_FAIL, OLESTR("The operation failed.")},
    {E_INVALIDARG, OLESTR("An argument is not valid.")},
    {E_OUTOFMEMORY, OLESTR("There is not enough memory.")},
    {E_NOINTERFACE, OLESTR("The object does not have this interface.")},
    {OPC_E_INVALIDHANDLE, OLESTR("The handle is not valid.")},
    {OPC_E_BADTYPE, OLESTR("The value cannot be converted to this data type.")},
    {OPC_E_BADRIGHTS, OLESTR("The access rights of the item do not allow this.")},
    {OPC_E_UNKNOWNITEMID, OLESTR("There is no such item.")},
    {OPC_E_INVALIDITEMID, OLESTR("This cannot be the name of an item.")},
    {OPC_E_RANGE, OLESTR("The value is out of range.")},
    {OPC_E_DUPLICATENAME, OLESTR("The name is in use.")},
    {OPC_S_UNSUPPORTEDRATE, OLESTR("The closest rate that is possible is used.")},
    {OPC_S_CLAMP, OLESTR("The value was cut to the range of the item.")},
    {OPC_S_INUSE, OLESTR("The object is still referenced.")},
    {OPC_E_INVALID_PID, OLESTR("The item does not have this property.")},
    {OPC_E_INVALIDCONTINUATIONPOINT, OLESTR("The continuation point is not valid.")},
};

}  // namespace

HRESULT giveErrorText(HRESULT error, LCID locale, LPWSTR* text) {
    const auto* found =
        std::find_if(std::begin(kTexts), std::end(kTexts), [&](const auto& each) { return each.code == error; });
    if (found == std::end(kTexts) || !isLocale(locale)) return E_INVALIDARG;
    *text = giveText(found->text);
    return S_OK;
}

bool isLocale(LCID locale) {
    const auto locales = simulation().options.get().locales;
    return std::find(locales.begin(), locales.end(), locale) != locales.end();
}

}  // namespace Korvex::Simulation
