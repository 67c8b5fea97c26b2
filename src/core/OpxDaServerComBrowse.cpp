// The engine's browsing and item properties, which need a server and keep nothing.
#include "core/CallFrame.h"
#include "core/OpxDaServerCom.h"
#include "core/guarded.h"

namespace OpxOpc {

HRESULT OpxDaServerCom::browse(const BrowseRequest& request, const BrowseAnswer& answer) {
    CallFrame frame(*d_, "DaServerCom::browse", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    BrowseRequest ofServer = request;
    ofServer.group = frame.link().mainGroup.get();
    bool ignored = false;
    bool& more = answer.moreElements ? *answer.moreElements : ignored;
    return frame.leave(guarded(
        [&] { return frame.link().server->browse(ofServer, answer.continuationPoint, answer.elements, more); }));
}

HRESULT OpxDaServerCom::getProperties(const PropertiesRequest& request, std::vector<OpxItemProperties>& results) {
    CallFrame frame(*d_, "DaServerCom::getProperties", CallFrame::Needs::Server);
    if (request.items.empty()) return E_INVALIDARG;
    if (!frame.entered()) return frame.refuseUnconnected();
    return frame.leave(
        guarded([&] { return frame.link().server->getProperties(request.items, request.properties, results); }));
}

}  // namespace OpxOpc
