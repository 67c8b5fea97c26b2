// The native callbacks, handed on to functions of the object API.
#pragma once

#include <functional>

#include <korvex/native/OpxDataCallback.h>

namespace Korvex::OPC::OpcDaClient {

// A callback whose function has not been connected is ignored. What a function throws stays here:
// nothing propagates into the engine. Connect the functions before the engine gets to see the object.
class CallbackWrapper final : public OpxOpc::OpxDataCallback {
public:
    using ServerStatusFunction = std::function<void(std::uint32_t, OpxOpc::ServerStatus)>;
    using DataFunction =
        std::function<void(std::uint32_t, std::int32_t, std::int32_t, std::uint32_t, const std::vector<std::uint32_t>&,
                           const std::vector<OpxOpc::OpxItemValue>&, const std::vector<std::int32_t>&)>;
    using WriteFunction = std::function<void(std::uint32_t, std::int32_t, std::uint32_t,
                                             const std::vector<std::uint32_t>&, const std::vector<std::int32_t>&)>;

    void ConnectStateChange(ServerStatusFunction function) { stateChange_ = std::move(function); }
    void ConnectDataChange(DataFunction function) { dataChange_ = std::move(function); }
    void ConnectReadComplete(DataFunction function) { readComplete_ = std::move(function); }
    void ConnectWriteComplete(WriteFunction function) { writeComplete_ = std::move(function); }

    void DataChange(std::uint32_t clientSubscription, std::int32_t masterQuality, std::int32_t masterError,
                    std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                    const std::vector<OpxOpc::OpxItemValue>& values, const std::vector<std::int32_t>& errors) override {
        forward(dataChange_, clientSubscription, masterQuality, masterError, count, clientHandles, values, errors);
    }
    void ReadComplete(std::uint32_t transaction, std::int32_t masterQuality, std::int32_t masterError,
                      std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                      const std::vector<OpxOpc::OpxItemValue>& values,
                      const std::vector<std::int32_t>& errors) override {
        forward(readComplete_, transaction, masterQuality, masterError, count, clientHandles, values, errors);
    }
    void WriteComplete(std::uint32_t transaction, std::int32_t masterError, std::uint32_t count,
                       const std::vector<std::uint32_t>& clientHandles,
                       const std::vector<std::int32_t>& errors) override {
        forward(writeComplete_, transaction, masterError, count, clientHandles, errors);
    }
    void ServerStatusChange(std::uint32_t clientHandle, OpxOpc::ServerStatus status) override {
        forward(stateChange_, clientHandle, status);
    }

private:
    template <typename Function, typename... Args>
    static void forward(const Function& function, const Args&... args) noexcept {
        if (!function) return;
        try {
            function(args...);
        } catch (...) {
        }
    }

    ServerStatusFunction stateChange_;
    DataFunction dataChange_;
    DataFunction readComplete_;
    WriteFunction writeComplete_;
};

}  // namespace Korvex::OPC::OpcDaClient
