// The engine: keeps one connection to one OPC server and serves the facade's operations with it.
#pragma once

#include <memory>

#include "core/OpxDaServerInterface.h"

namespace OpxOpc {

class DaServerComPrivate;

class OpxDaServerCom final : public OpxDaServerInterface {
public:
    OpxDaServerCom();
    ~OpxDaServerCom() override;
    OpxDaServerCom(const OpxDaServerCom&) = delete;
    OpxDaServerCom& operator=(const OpxDaServerCom&) = delete;

    HRESULT connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                    OpxDataCallback* callback) override;
    HRESULT disconnect() override;
    HRESULT read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                 std::vector<std::int32_t>& errors) override;

private:
    std::unique_ptr<DaServerComPrivate> d_;
};

}  // namespace OpxOpc
