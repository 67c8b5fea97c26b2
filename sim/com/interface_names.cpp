#include "sim/com/interface_names.h"

#include <algorithm>
#include <utility>

#include "com/opc_interfaces.h"

namespace Korvex::Simulation {
namespace {

struct NamedInterface {
    const IID* iid;
    std::string_view name;
    bool dataAccess3;
};

const NamedInterface kInterfaces[] = {
    {&IID_IOPCServer, "IOPCServer", false},
    {&IID_IOPCCommon, "IOPCCommon", false},
    {&IID_IOPCBrowse, "IOPCBrowse", true},
    {&IID_IOPCBrowseServerAddressSpace, "IOPCBrowseServerAddressSpace", false},
    {&IID_IOPCItemProperties, "IOPCItemProperties", false},
    {&IID_IOPCItemIO, "IOPCItemIO", true},
    {&IID_IOPCItemMgt, "IOPCItemMgt", false},
    {&IID_IOPCGroupStateMgt, "IOPCGroupStateMgt", false},
    {&IID_IOPCGroupStateMgt2, "IOPCGroupStateMgt2", true},
    {&IID_IOPCSyncIO, "IOPCSyncIO", false},
    {&IID_IOPCSyncIO2, "IOPCSyncIO2", true},
    {&IID_IOPCAsyncIO2, "IOPCAsyncIO2", false},
    {&IID_IOPCAsyncIO3, "IOPCAsyncIO3", true},
    {&IID_IOPCItemDeadbandMgt, "IOPCItemDeadbandMgt", true},
    {&IID_IOPCItemSamplingMgt, "IOPCItemSamplingMgt", true},
    {&IID_IOPCDataCallback, "IOPCDataCallback", false},
    {&IID_IOPCShutdown, "IOPCShutdown", false},
    {&IID_IEnumOPCItemAttributes, "IEnumOPCItemAttributes", false},
    {&IID_IConnectionPointContainer, "IConnectionPointContainer", false},
    {&IID_IConnectionPoint, "IConnectionPoint", false},
    {&IID_IEnumConnectionPoints, "IEnumConnectionPoints", false},
    {&IID_IEnumConnections, "IEnumConnections", false},
    {&IID_IEnumString, "IEnumString", false},
    {&IID_IEnumUnknown, "IEnumUnknown", false},
};

}  // namespace

std::string interfaceName(REFIID riid) {
    const auto* found = std::find_if(std::begin(kInterfaces), std::end(kInterfaces),
                                     [&](const auto& each) { return *each.iid == riid; });
    return found == std::end(kInterfaces) ? std::string() : std::string(found->name);
}

std::string methodAbout(std::string method, std::string_view interfaceName) {
    return std::move(method.append(" (IID_").append(interfaceName).append(")"));
}

bool isDataAccess3(std::string_view name) {
    const auto* found = std::find_if(std::begin(kInterfaces), std::end(kInterfaces),
                                     [&](const auto& each) { return each.name == name; });
    return found != std::end(kInterfaces) && found->dataAccess3;
}

}  // namespace Korvex::Simulation
