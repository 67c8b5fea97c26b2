// The COM apartment that the library's first connection found, shared by the whole process.
#pragma once

#include "com/ComPtr.h"
#include "com/com.h"

namespace OpxOpc {

// Counts the server connections, and whoever else needs COM as they found it. The first one brings COM up for its
// thread and settles the process's security, the last one takes COM down again. Any thread may call.
class ApartmentMode {
public:
    static void enter();
    static void leave();

    // COM accepts security settings once in a process: the first call asks for them, and whatever comes
    // of it is not tried again.
    static void initializeSecurityOnce();

    // True when the thread of the first connection was in a single-threaded apartment already. Every
    // interface is then kept in the global interface table and fetched for each use.
    static bool isSingleThreaded() noexcept;

    // The table that interfaces are kept in; asked for in a single-threaded apartment only.
    static HRESULT createInterfaceTable(Korvex::Com::ComPtr<IGlobalInterfaceTable>& table);
};

// One of those that are counted, while it lives.
class ApartmentShare {
public:
    ApartmentShare() { ApartmentMode::enter(); }
    ~ApartmentShare() { ApartmentMode::leave(); }
    ApartmentShare(const ApartmentShare&) = delete;
    ApartmentShare& operator=(const ApartmentShare&) = delete;
};

}  // namespace OpxOpc
