#include "sim/steering/item_commands.h"

#include <map>
#include <memory>

#include "sim/FileTime.h"
#include "sim/Simulation.h"
#include "sim/com/ComClass.h"
#include "sim/steering/commands.h"

namespace Korvex::Simulation {
namespace {

constexpr LCID kCommandLocale = 1033;

// An object without interfaces, for values that no client can make use of.
class BareObject final : public ComClass<IUnknown> {};

Value scalarFromText(VARTYPE type, std::string_view text) {
    static LONG referenced = 0;
    switch (type) {
        case VT_EMPTY:
        case VT_NULL:
            return makeScalar(type, LONGLONG{0});
        case VT_ERROR:
        case VT_INT:
        case VT_UINT:
            return makeScalar(type, CommandWords(text).number());
        case VT_UNKNOWN:
            return makeScalar(type, static_cast<IUnknown*>(makeObject<BareObject>().detach()));
        case VT_I4 | VT_BYREF:
            return makeScalar(type, &referenced);
        default:
            break;
    }
    Value value = makeText(fromUtf8(text));
    if (type == VT_BSTR) return value;
    Value converted;
    if (succeeded(VariantChangeTypeEx(converted.address(), const_cast<VARIANT*>(&value.get()), kCommandLocale, 0, type)))
        return converted;
    // A type that is none is asked for on purpose; it carries the number, if any, as it is.
    if (isConvertible(VT_BSTR, type)) throw CommandError(std::string("not a value of this type: ").append(text));
    return makeScalar(type, text.empty() ? std::uint64_t{0} : CommandWords(text).number());
}

// Elements are separated by commas.
Value valueFromText(VARTYPE type, std::string_view text) {
    if ((type & VT_ARRAY) == 0) return scalarFromText(type, text);
    const VARTYPE elementType = elementOf(type);
    std::vector<Value> elements;
    while (!text.empty()) {
        const std::size_t comma = text.find(',');
        elements.push_back(scalarFromText(elementType == VT_VARIANT ? VARTYPE{VT_BSTR} : elementType, text.substr(0, comma)));
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return makeArray(elementType, elements);
}

Value twoDimensionalArray() {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 0}};
    return makeScalar(arrayOf(VT_I4), SafeArrayCreate(VT_I4, 2, bounds));
}

Value nullArray() { return makeScalar(arrayOf(VT_I4), static_cast<SAFEARRAY*>(nullptr)); }

using Change = void (*)(ItemOverrides&, CommandWords&);

const std::map<std::string_view, Change> kChanges = {
    {"error",
     [](ItemOverrides& item, CommandWords& words) {
         const HRESULT code = words.code();
         item.readError = code == S_OK ? std::nullopt : std::optional(code);
     }},
    {"quality",
     [](ItemOverrides& item, CommandWords& words) { item.quality = static_cast<WORD>(words.number(0xFFFF)); }},
    {"value",
     [](ItemOverrides& item, CommandWords& words) {
         const auto type = static_cast<VARTYPE>(words.number(0xFFFF));
         item.value = valueFromText(type, words.remainder());
     }},
    {"array2d", [](ItemOverrides& item, CommandWords&) { item.value = twoDimensionalArray(); }},
    {"nullarray", [](ItemOverrides& item, CommandWords&) { item.value = nullArray(); }},
    {"time",
     [](ItemOverrides& item, CommandWords& words) {
         item.time = fileTime(words.number(std::numeric_limits<std::uint64_t>::max()));
     }},
    {"addresult", [](ItemOverrides& item, CommandWords& words) { item.addResult = words.code(); }},
    {"canonical",
     [](ItemOverrides& item, CommandWords& words) { item.canonicalType = static_cast<VARTYPE>(words.number(0xFFFF)); }},
    {"rights",
     [](ItemOverrides& item, CommandWords& words) { item.accessRights = static_cast<DWORD>(words.number()); }},
    {"normal", [](ItemOverrides& item, CommandWords&) { item = {}; }},
};

}  // namespace

void changeItem(CommandWords& words) {
    const std::string_view id = words.word();
    std::shared_ptr<PlantItem> item;
    if (failed(simulation().plant.find(fromUtf8(id), item))) throw CommandError(std::string("no such item: ").append(id));
    const std::string_view what = words.word();
    const auto change = kChanges.find(what);
    if (change == kChanges.end()) throw CommandError(std::string("unknown word: ").append(what));
    item->changeOverrides([&](ItemOverrides& overrides) { change->second(overrides, words); });
}

}  // namespace Korvex::Simulation
