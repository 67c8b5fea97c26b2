#include "opc/browse/BrowseInterface.h"

#include <new>
#include <utility>

#include "opc/ServerArrays.h"
#include "opc/browse/ItemPropertyRecords.h"
#include "opc/server_texts.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::copyToTaskMemory;
using Korvex::Com::TaskArray;
using Korvex::Com::TaskString;

namespace {

// The identifiers as servers take them: an array that they could write to, and that is there also
// where it has no elements, since a null one does not cross processes.
class PropertyIds {
public:
    explicit PropertyIds(const std::vector<std::uint32_t>& ids)
        : count_(static_cast<DWORD>(ids.size())), ids_(ids.begin(), ids.end()) {
        ids_.resize(ids_.size() + 1);
    }
    DWORD count() const noexcept { return count_; }
    DWORD* data() noexcept { return ids_.data(); }

private:
    DWORD count_;
    std::vector<DWORD> ids_;
};

OPCBROWSEFILTER serverFilter(BrowseFilter filter) {
    return static_cast<OPCBROWSEFILTER>(static_cast<std::int32_t>(filter) + 1);
}

HRESULT takeElement(const OPCBROWSEELEMENT& answered, const PropertyRequest& request, OpxBrowseElement& element) {
    element.name = textOf(answered.szName);
    element.itemName = textOf(answered.szItemID);
    element.isItem = (answered.dwFlagValue & OPC_BROWSE_ISITEM) != 0;
    element.hasChildren = (answered.dwFlagValue & OPC_BROWSE_HASCHILDREN) != 0;
    const HRESULT hr = takeItemProperties(answered.ItemProperties, request, element.properties);
    element.propertyCount = static_cast<std::int32_t>(element.properties.size());
    return hr;
}

}  // namespace

HRESULT browseWith(IOPCBrowse& server, const BrowseRequest& request, OpxString& continuationPoint,
                   std::vector<OpxBrowseElement>& elements, bool& moreElements) {
    PropertyIds ids(request.properties.ids);
    const OpxString noFilter;
    LPWSTR point = copyToTaskMemory(continuationPoint);
    if (!point) throw std::bad_alloc();
    BOOL more = FALSE;
    DWORD count = 0;
    TaskArray<OPCBROWSEELEMENT> answer;
    HRESULT hr = tracedCall("IOPCBrowse::Browse", [&] {
        return server.Browse(writable(request.itemName), &point, request.maxElements, serverFilter(request.filter),
                             writable(noFilter), writable(noFilter), request.properties.all ? TRUE : FALSE,
                             request.properties.values ? TRUE : FALSE, ids.count(), ids.data(), &more, &count,
                             answer.put());
    });
    const TaskString answeredPoint(point);
    if (failed(hr)) return hr;
    answer.setCount(count);
    if (answer.size() != count) return E_FAIL;

    elements.resize(count);
    for (DWORD i = 0; i < count; ++i) {
        if (takeElement(answer[i], request.properties, elements[i]) != S_OK) hr = S_FALSE;
    }
    continuationPoint = textOf(answeredPoint.get());
    moreElements = more != FALSE || !continuationPoint.empty();
    return hr;
}

HRESULT getPropertiesWith(IOPCBrowse& server, const std::vector<OpxItemIdentifier>& items,
                          const PropertyRequest& request, std::vector<OpxItemProperties>& results) {
    std::vector<LPWSTR> names;
    names.reserve(items.size());
    for (const OpxItemIdentifier& item : items) names.push_back(writable(item.itemName));
    PropertyIds ids(request.all ? std::vector<std::uint32_t>() : request.ids);
    TaskArray<OPCITEMPROPERTIES> answer(items.size());
    HRESULT hr = tracedCall("IOPCBrowse::GetProperties", [&] {
        return server.GetProperties(static_cast<DWORD>(names.size()), names.data(), request.values ? TRUE : FALSE,
                                    ids.count(), ids.data(), answer.put());
    });
    if (failed(hr)) return hr;
    if (!answer) return E_FAIL;

    results.resize(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const HRESULT taken = takeItemProperties(answer[i], request, results[i].properties);
        results[i].resultCode = answer[i].hrErrorID == S_OK ? taken : answer[i].hrErrorID;
        if (taken != S_OK) hr = S_FALSE;
    }
    return hr;
}

}  // namespace OpxOpc
