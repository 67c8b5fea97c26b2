// Addresses of the sockets in a runtime folder.
#pragma once

#include <sys/un.h>

#include <optional>
#include <string>

#include "com/portable/local/RuntimeFolder.h"

namespace Korvex::Com {

// Nothing for a name that is none of a socket: too long, or a path.
inline std::optional<sockaddr_un> socketAddress(const RuntimeFolder& folder, const std::string& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path = folder.shortPath(name);
    if (name.find('/') != std::string::npos || path.size() >= sizeof address.sun_path) return std::nullopt;
    path.copy(address.sun_path, path.size());
    return address;
}

}  // namespace Korvex::Com
