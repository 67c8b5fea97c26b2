#include "opc/callbacks/KeptSinks.h"

#include <vector>

#include "com/ComPtr.h"
#include "com/Mutex.h"

namespace OpxOpc {

void keepForever(IUnknown* sink) {
    // Not destroyed at exit either, when a server's thread may still be inside one of them.
    static Korvex::Mutex& lock = *new Korvex::Mutex;
    static auto& sinks = *new std::vector<Korvex::Com::ComPtr<IUnknown>>;
    const Korvex::ScopedLock guard(lock);
    sinks.emplace_back(sink);
}

}  // namespace OpxOpc
