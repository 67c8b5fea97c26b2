#include "opc/browse/ItemPropertiesInterface.h"

#include <algorithm>
#include <optional>

#include "com/result_codes.h"
#include "opc/ServerArrays.h"
#include "opc/browse/ItemPropertyRecords.h"
#include "opc/rpc_errors.h"
#include "opc/server_texts.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::TaskArray;

namespace {

constexpr std::int32_t kFirstPropertyWithItem = 100;

// The properties that an item has.
struct AvailableProperties {
    DWORD count = 0;
    TaskArray<DWORD> ids;
    TaskArray<LPWSTR> descriptions;
    TaskArray<VARTYPE> types;

    HRESULT query(IOPCItemProperties& server, const OpxString& itemName) {
        const HRESULT hr = tracedCall("IOPCItemProperties::QueryAvailableProperties", [&] {
            return server.QueryAvailableProperties(writable(itemName), &count, ids.put(), descriptions.put(),
                                                   types.put());
        });
        if (failed(hr)) return hr;
        ids.setCount(count);
        descriptions.setCount(count);
        types.setCount(count);
        return ids.size() == count && descriptions.size() == count && types.size() == count ? S_OK : E_FAIL;
    }

    OpxItemProperty at(std::size_t i) const {
        OpxItemProperty property;
        property.propertyId = static_cast<std::int32_t>(ids[i]);
        property.dataType = OpxVariant::typeFromVarType(types[i]);
        property.description = textOf(descriptions[i]);
        return property;
    }

    OpxItemProperty find(std::uint32_t id) const {
        const auto found = std::find(ids.begin(), ids.end(), id);
        if (found != ids.end()) return at(static_cast<std::size_t>(found - ids.begin()));
        OpxItemProperty unavailable;
        unavailable.propertyId = static_cast<std::int32_t>(id);
        unavailable.resultCode = OPC_E_INVALID_PID;
        return unavailable;
    }
};

std::vector<OpxItemProperty> chosen(const AvailableProperties& available, const PropertyRequest& request) {
    std::vector<OpxItemProperty> properties;
    if (request.all) {
        for (DWORD i = 0; i < available.count; ++i) properties.push_back(available.at(i));
    } else {
        for (const std::uint32_t id : request.ids) properties.push_back(available.find(id));
    }
    return properties;
}

// Some of an item's properties, with what a call needs to ask for them.
struct Selection {
    std::vector<OpxItemProperty*> properties;
    std::vector<DWORD> ids;

    template <typename Predicate>
    Selection(std::vector<OpxItemProperty>& all, Predicate&& selected) {
        for (OpxItemProperty& property : all) {
            if (failed(property.resultCode) || !selected(property)) continue;
            properties.push_back(&property);
            ids.push_back(static_cast<DWORD>(property.propertyId));
        }
    }
    std::size_t count() const noexcept { return ids.size(); }
};

void takeValue(const VARIANT& value, HRESULT code, OpxItemProperty& property) {
    property.resultCode = code;
    if (succeeded(code)) takePropertyValue(value, property);
}

HRESULT queryValues(IOPCItemProperties& server, const OpxString& itemName, Selection selection) {
    if (selection.count() == 0) return S_OK;
    TaskArray<VARIANT> values(selection.count());
    ItemCodes codes(selection.count());
    HRESULT hr = tracedCall("IOPCItemProperties::GetItemProperties", [&] {
        return server.GetItemProperties(writable(itemName), static_cast<DWORD>(selection.count()), selection.ids.data(),
                                        values.put(), codes.put());
    });
    if (isRpcError(hr)) return hr;
    const bool leftOut = succeeded(hr) && (!values || (hr == S_FALSE && !codes));
    if (leftOut) hr = E_FAIL;
    for (std::size_t i = 0; i < selection.count(); ++i) {
        if (failed(hr)) {
            selection.properties[i]->resultCode = hr;
        } else {
            takeValue(values[i], codeAt(codes, i), *selection.properties[i]);
        }
    }
    return S_OK;
}

// A property that is no item of its own is nothing to tell of, nor is a server that cannot say.
void lookUpItemNames(IOPCItemProperties& server, const OpxString& itemName, Selection selection) {
    if (selection.count() == 0) return;
    TaskArray<LPWSTR> names(selection.count());
    ItemCodes codes(selection.count());
    const HRESULT hr = tracedCall("IOPCItemProperties::LookupItemIDs", [&] {
        return server.LookupItemIDs(writable(itemName), static_cast<DWORD>(selection.count()), selection.ids.data(),
                                    names.put(), codes.put());
    });
    if (failed(hr) || !names) return;
    for (std::size_t i = 0; i < selection.count(); ++i) {
        if (succeeded(codeAt(codes, i))) selection.properties[i]->itemName = textOf(names[i]);
    }
}

bool anyFailed(const std::vector<OpxItemProperty>& properties) {
    return std::any_of(properties.begin(), properties.end(),
                       [](const OpxItemProperty& property) { return failed(property.resultCode); });
}

}  // namespace

HRESULT queryItemProperties(IOPCItemProperties& server, const OpxString& itemName, const PropertyRequest& request,
                            OpxItemProperties& result) {
    AvailableProperties available;
    HRESULT hr = available.query(server, itemName);
    if (isRpcError(hr)) return hr;
    result.resultCode = hr;
    if (failed(hr)) return S_FALSE;

    result.properties = chosen(available, request);
    lookUpItemNames(server, itemName, Selection(result.properties, [](const OpxItemProperty& property) {
                        return property.propertyId >= kFirstPropertyWithItem;
                    }));
    if (request.values) {
        hr = queryValues(server, itemName, Selection(result.properties, [](const auto&) { return true; }));
        if (failed(hr)) return hr;
    }
    result.resultCode = anyFailed(result.properties) ? S_FALSE : S_OK;
    return result.resultCode;
}

HRESULT hasItemProperties(IOPCItemProperties& server, const OpxString& itemName) {
    return AvailableProperties().query(server, itemName);
}

}  // namespace OpxOpc
