/* What the generated stub code carries, for code that cannot include its headers, which are for C only. */
#pragma once

#include <guiddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct KorvexProxiedInterface {
    const GUID* id;
    const char* name;
    unsigned long methods;
} KorvexProxiedInterface;

/* The class that makes the proxies. */
const CLSID* korvexProxyClass(void);

/* Interface `index` from 0; false behind the last one. */
int korvexProxiedInterface(unsigned index, KorvexProxiedInterface* found);

#ifdef __cplusplus
}
#endif
