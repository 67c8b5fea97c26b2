// What the facade needs of an engine.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "com/com.h"

namespace OpxOpc {

// Lists are filled in item order with one entry an item; an errors list may stay empty and then
// means that every code is 0. A partial failure is S_FALSE. Nothing throws. The destructor releases
// everything that is held.
class OpxDaServerInterface {
public:
    virtual ~OpxDaServerInterface() = default;

    virtual HRESULT connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                            OpxDataCallback* callback) = 0;
    virtual HRESULT disconnect() = 0;
    virtual HRESULT read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                         std::vector<std::int32_t>& errors) = 0;
};

}  // namespace OpxOpc
