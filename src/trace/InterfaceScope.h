// The lines around a call that crosses one of the library's outer interfaces.
#pragma once

#include <cstdint>

#include "trace/LibT.h"

namespace OpxOpc {

// "==> DaServer::read" when it is made, then one of
//   return scope.leave(hr)          "<== DaServer::read [hr=0x%lx]"
//   return scope.refuse(text, hr)   "<== DaServer::read " followed by the text
//   scope.leave()                   "<== DaServer::read"
// A call that throws writes no exit line.
class InterfaceScope {
public:
    explicit InterfaceScope(const char* operation) noexcept : operation_(operation) {
        LibT::lIfCall("==> %s", operation_);
    }
    // For an operation whose entry line says more than its name: the caller writes that line.
    static InterfaceScope entered(const char* operation) noexcept { return InterfaceScope(operation, Entered()); }
    InterfaceScope(const InterfaceScope&) = delete;
    InterfaceScope& operator=(const InterfaceScope&) = delete;

    std::int32_t leave(std::int32_t hr) const noexcept {
        LibT::lIfCall("<== %s [hr=0x%lx]", operation_, hr);
        return hr;
    }
    std::int32_t refuse(const char* text, std::int32_t hr) const noexcept {
        LibT::lIfCall("<== %s %s", operation_, text);
        return hr;
    }
    void leave() const noexcept { LibT::lIfCall("<== %s", operation_); }

private:
    struct Entered {};
    InterfaceScope(const char* operation, Entered) noexcept : operation_(operation) {}

    const char* operation_;
};

}  // namespace OpxOpc
