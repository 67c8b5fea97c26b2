// The interfaces of a server, kept so that every thread of the process can use them.
#pragma once

#include <cstddef>
#include <tuple>
#include <utility>

#include "com/ComPtr.h"
#include "com/opc_interfaces.h"
#include "opc/apartment/ApartmentInterface.h"

namespace OpxOpc {

// Asks a server for its interfaces, keeps them in the list's order, lends them and gives them up.
class ServerInterfaces {
    template <template <typename> class Holder>
    using Each = std::tuple<Holder<IOPCServer>, Holder<IOPCBrowse>, Holder<IOPCBrowseServerAddressSpace>,
                            Holder<IOPCItemProperties>>;

public:
    // Keeps the interfaces of `server`. On failure some may be kept: release gives them up.
    HRESULT take(Korvex::Com::ComPtr<IOPCServer> server);
    // Answers the code of the last revocation, S_OK in a multi-threaded apartment.
    HRESULT release();

    // A data access 3.0 server browses and tells properties through IOPCBrowse.
    bool isDataAccess3() const noexcept { return dataAccess3_; }
    bool isFlat() const noexcept { return organization_ == OPC_NS_FLAT; }

    // Empty on failure.
    template <typename Interface>
    BorrowedInterface<Interface> borrow() const {
        return std::get<ApartmentInterface<Interface>>(kept_).borrow(interfaceTable_.get());
    }
    // The server's connection point for shutdown requests, asked for once; empty on failure.
    BorrowedInterface<IConnectionPoint> borrowShutdownPoint();

private:
    using Found = Each<Korvex::Com::ComPtr>;

    HRESULT query(Found& found);
    HRESULT keep(Found& found);
    void releaseAllButServer(HRESULT& result);
    HRESULT findShutdownPoint();

    bool dataAccess3_ = false;
    OPCNAMESPACETYPE organization_ = OPC_NS_HIERARCHIAL;
    Korvex::Com::ComPtr<IGlobalInterfaceTable> interfaceTable_;
    Each<ApartmentInterface> kept_;
    ApartmentInterface<IConnectionPoint> shutdownPoint_;
};

}  // namespace OpxOpc
