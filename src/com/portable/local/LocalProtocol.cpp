#include "com/portable/local/LocalProtocol.h"

#include <atomic>

namespace Korvex::Com {
namespace {

std::atomic<LocalProtocol*> current{nullptr};

}  // namespace

void useLocalProtocol(LocalProtocol& protocol) {
    current = &protocol;
}

LocalProtocol* localProtocol() {
    return current;
}

}  // namespace Korvex::Com
