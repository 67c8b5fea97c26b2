#include "opc/callbacks/KeptSinks.h"

#include <mutex>
#include <vector>

#include "com/ComPtr.h"

namespace OpxOpc {

void keepForever(IUnknown* sink) {
    // Not destroyed at exit either, when a server's thread may still be inside one of them.
    static std::mutex& lock = *new std::mutex;
    static auto& sinks = *new std::vector<Korvex::Com::ComPtr<IUnknown>>;
    const std::lock_guard guard(lock);
    sinks.emplace_back(sink);
}

}  // namespace OpxOpc
