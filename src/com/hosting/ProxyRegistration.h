// Makes proxies, which carry calls of interfaces between processes, known to COM. Only where COM has
// servers in other processes.
#pragma once

#include <filesystem>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

struct ProxyRegistration {
    struct Interface {
        IID id;
        OpxString name;
        std::size_t methods;
    };

    CLSID clsid;
    OpxString description;
    std::filesystem::path module;
    std::vector<Interface> interfaces;
};

// Registers the proxies for all users, or for this user where that is not allowed. An interface for which
// another proxy is registered keeps it.
HRESULT registerProxies(const ProxyRegistration& registration);
// Takes back what registerProxies() wrote.
HRESULT unregisterProxies(const ProxyRegistration& registration);

}  // namespace Korvex::Com
