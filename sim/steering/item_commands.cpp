#include "sim/steering/item_commands.h"

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

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
    if (succeeded(
            VariantChangeTypeEx(converted.address(), const_cast<VARIANT*>(&value.get()), kCommandLocale, 0, type)))
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
        elements.push_back(
            scalarFromText(elementType == VT_VARIANT ? VARTYPE{VT_BSTR} : elementType, text.substr(0, comma)));
        text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    }
    return makeArray(elementType, elements);
}

Value twoDimensionalArray() {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 0}};
    return makeScalar(arrayOf(VT_I4), SafeArrayCreate(VT_I4, 2, bounds));
}

Value nullArray() {
    return makeScalar(arrayOf(VT_I4), static_cast<SAFEARRAY*>(nullptr));
}

using Change = std::function<void(ItemOverrides&)>;

// An error that reads or writes of the item fail with.
Change setError(std::optional<HRESULT> ItemOverrides::*member, CommandWords& words) {
    const HRESULT code = words.code();
    return [=](ItemOverrides& item) { item.*member = code == S_OK ? std::nullopt : std::optional(code); };
}

Change reportAs(Value value) {
    return [value = std::move(value)](ItemOverrides& item) { item.value = value; };
}

Change reportedValue(CommandWords& words) {
    const auto type = static_cast<VARTYPE>(words.number(0xFFFF));
    return reportAs(valueFromText(type, words.remainder()));
}

// Overrides one thing about an item with a number.
template <typename Number>
Change setNumber(std::optional<Number> ItemOverrides::*member, CommandWords& words) {
    const auto number = static_cast<Number>(words.number(std::numeric_limits<std::make_unsigned_t<Number>>::max()));
    return [=](ItemOverrides& item) { item.*member = number; };
}

Change reportedTime(CommandWords& words) {
    const FILETIME time = fileTime(words.number(std::numeric_limits<std::uint64_t>::max()));
    return [=](ItemOverrides& item) { item.time = time; };
}

const std::map<std::string_view, Change (*)(CommandWords&)> kChanges = {
    {"error", [](CommandWords& words) { return setError(&ItemOverrides::readError, words); }},
    {"writeerror", [](CommandWords& words) { return setError(&ItemOverrides::writeError, words); }},
    {"quality", [](CommandWords& words) { return setNumber(&ItemOverrides::quality, words); }},
    {"value", reportedValue},
    {"array2d", [](CommandWords&) { return reportAs(twoDimensionalArray()); }},
    {"nullarray", [](CommandWords&) { return reportAs(nullArray()); }},
    {"time", reportedTime},
    {"addresult", [](CommandWords& words) { return setNumber(&ItemOverrides::addResult, words); }},
    {"canonical", [](CommandWords& words) { return setNumber(&ItemOverrides::canonicalType, words); }},
    {"rights", [](CommandWords& words) { return setNumber(&ItemOverrides::accessRights, words); }},
    {"normal", [](CommandWords&) -> Change { return [](ItemOverrides& item) { item = {}; }; }},
};

std::shared_ptr<PlantItem> namedItem(CommandWords& words) {
    const std::string_view id = words.word();
    std::shared_ptr<PlantItem> item;
    if (failed(simulation().plant.find(fromUtf8(id), item)))
        throw CommandError(std::string("no such item: ").append(id));
    return item;
}

std::string answerText(const Value& value) {
    if (value.isArray()) {
        std::string list = "{";
        for (const Value& element : elementsOf(value))
            list.append(list.size() > 1 ? "," : "").append(answerText(element));
        return list.append("}");
    }
    Value text;
    if (value.type() == VT_EMPTY || value.type() == VT_NULL) return {};
    if (failed(VariantChangeTypeEx(text.address(), const_cast<VARIANT*>(&value.get()), kCommandLocale, 0, VT_BSTR)))
        return "?";
    return toUtf8(OpxStringView(text.get().bstrVal, SysStringLen(text.get().bstrVal)));
}

}  // namespace

std::string writtenValue(CommandWords& words) {
    const Value written = namedItem(words)->written();
    return std::to_string(written.type()) + " " + answerText(written);
}

std::function<void()> changeItem(CommandWords& words) {
    const std::shared_ptr<PlantItem> item = namedItem(words);
    const std::string_view what = words.word();
    const auto found = kChanges.find(what);
    if (found == kChanges.end()) throw CommandError(std::string("unknown word: ").append(what));
    return [item, change = found->second(words)] { item->changeOverrides(change); };
}

}  // namespace Korvex::Simulation
