// The apartment of a thread that the library starts.
#pragma once

#include "com/ComCalls.h"
#include "opc/apartment/ApartmentMode.h"

namespace OpxOpc {

// Where the process is single-threaded, every background thread has a single-threaded apartment of its
// own while this object lives; otherwise the thread is in the process's multi-threaded one anyway.
class BackgroundApartment {
public:
    BackgroundApartment()
        : entered_(ApartmentMode::isSingleThreaded() &&
                   succeeded(Korvex::Com::comCalls().coInitializeEx(COINIT_APARTMENTTHREADED))) {}
    ~BackgroundApartment() {
        if (entered_) Korvex::Com::comCalls().coUninitialize();
    }
    BackgroundApartment(const BackgroundApartment&) = delete;
    BackgroundApartment& operator=(const BackgroundApartment&) = delete;

private:
    const bool entered_;
};

}  // namespace OpxOpc
