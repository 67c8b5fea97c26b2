// The engine's browsing and item properties, which need a server and keep nothing.
#include "core/CallFrame.h"
#include "core/OpxDaServerCom.h"
#include "core/guarded.h"

namespace OpxOpc {

HRESULT OpxDaServerCom::browse(const OpxString& itemName, const OpxString& /*itemPath*/, OpxString& continuationPoint,
                               std::uint32_t maxElementsReturned, BrowseFilter filter,
                               const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                               bool returnPropertyValues, std::vector<OpxBrowseElement>& elements, bool* moreElements) {
    CallFrame frame(*d_, "DaServerCom::browse", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    const BrowseRequest request = {itemName,
                                   maxElementsReturned,
                                   filter,
                                   {propertyIds, returnAllProperties, returnPropertyValues},
                                   frame.link().mainGroup.get()};
    bool ignored = false;
    bool& more = moreElements ? *moreElements : ignored;
    return frame.leave(
        guarded([&] { return frame.link().server->browse(request, continuationPoint, elements, more); }));
}

HRESULT OpxDaServerCom::getProperties(const std::vector<OpxItemIdentifier>& items,
                                      const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                                      bool returnPropertyValues, std::vector<OpxItemProperties>& results) {
    CallFrame frame(*d_, "DaServerCom::getProperties", CallFrame::Needs::Server);
    if (items.empty()) return E_INVALIDARG;
    if (!frame.entered()) return frame.refuseUnconnected();
    const PropertyRequest request = {propertyIds, returnAllProperties, returnPropertyValues};
    return frame.leave(guarded([&] { return frame.link().server->getProperties(items, request, results); }));
}

}  // namespace OpxOpc
