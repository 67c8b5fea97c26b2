// A workaround for Wine: it drops an interface with the last object of this process that is called by it, and
// may then wait for ever for a call of it that is on its way, so there is always an object.
#pragma once

#include <vector>

#include "com/ComPtr.h"

namespace Korvex::Testing {

// Keeps the interfaces that servers call their clients by, for as long as it lives.
class KeptInterfaces {
public:
    KeptInterfaces();
    ~KeptInterfaces();
    KeptInterfaces(const KeptInterfaces&) = delete;
    KeptInterfaces& operator=(const KeptInterfaces&) = delete;

private:
    void keep(REFIID interfaceId, IUnknown* object);

    std::vector<Com::ComPtr<IStream>> marshalled_;
};

}  // namespace Korvex::Testing
