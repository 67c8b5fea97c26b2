#include "com/portable/local/LocalEndpoint.h"

#include <cstdlib>
#include <system_error>
#include <thread>

namespace Korvex::Com {
namespace {

// A connection for which the system has no thread is closed.
void serveOnThread(LocalProtocol& protocol, std::unique_ptr<LocalSocket> client) {
    try {
        std::thread([&protocol, client = std::move(client)]() mutable { protocol.serve(std::move(client)); }).detach();
    } catch (const std::system_error&) {
    }
}

void takeConnections(LocalListener& listener, LocalProtocol& protocol) {
    while (auto client = listener.accept()) serveOnThread(protocol, std::move(client));
}

}  // namespace

LocalEndpoint& LocalEndpoint::ofProcess() {
    static auto* const endpoint = new LocalEndpoint;
    return *endpoint;
}

const LocalListener& LocalEndpoint::open(LocalProtocol& protocol) {
    const ScopedLock guard(lock_);
    if (listener_) return *listener_;
    auto listener = std::make_unique<LocalListener>(RuntimeFolder::open());
    std::thread([&protocol, &listening = *listener] { takeConnections(listening, protocol); }).detach();
    listener_ = std::move(listener);
    std::atexit(&removeSocketAtExit);
    return *listener_;
}

void LocalEndpoint::removeSocketAtExit() {
    LocalEndpoint& endpoint = ofProcess();
    const ScopedLock guard(endpoint.lock_);
    endpoint.listener_->shutdown();
}

}  // namespace Korvex::Com
