// The component of a machine that knows its OPC servers.
#pragma once

#include "com/ComPtr.h"
#include "com/com.h"
#include "com/opc_interfaces.h"

namespace OpxOpc {

// The list by the newer of its two interfaces, or on old machines, which have no other, by the first.
class ServerList {
public:
    // Reaches the list on `host`, empty for this machine; `traced` writes the lines of the call.
    HRESULT open(const OpxString& host, bool traced = false);

    // Returns the answer of `call` for the interface that was had.
    template <typename Call>
    HRESULT with(Call&& call) const {
        return newer_ ? call(*newer_) : call(*first_);
    }

private:
    Korvex::Com::ComPtr<IOPCServerList2> newer_;
    Korvex::Com::ComPtr<IOPCServerList> first_;
};

// A class identifier with braces.
HRESULT textOfClsid(const CLSID& clsid, OpxString& text);

}  // namespace OpxOpc
