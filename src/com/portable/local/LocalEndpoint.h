// The one socket at which other programs reach this process.
#pragma once

#include <memory>

#include "com/Mutex.h"
#include "com/portable/local/LocalListener.h"
#include "com/portable/local/LocalProtocol.h"

namespace Korvex::Com {

class LocalEndpoint {
public:
    // Never destroyed: connections may be served while the process ends.
    static LocalEndpoint& ofProcess();

    // Listens from the first call on; each connection is served on a thread of its own. Throws LocalFailure.
    const LocalListener& open(LocalProtocol& protocol);

private:
    static void removeSocketAtExit();

    Mutex lock_;
    std::unique_ptr<LocalListener> listener_ GUARDED_BY(lock_);
};

}  // namespace Korvex::Com
