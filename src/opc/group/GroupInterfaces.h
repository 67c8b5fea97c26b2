// The interfaces of a server's group, kept so that every thread of the process can use them.
#pragma once

#include <tuple>

#include "com/ComPtr.h"
#include "com/opc_interfaces.h"
#include "opc/apartment/ApartmentInterface.h"
#include "trace/LibT.h"

namespace OpxOpc {

// Asks a group for its interfaces, keeps them, lends them and gives them up, each in the table's order.
class GroupInterfaces {
    enum class Need { Offered, Required, Optional };
    enum class Traced { Nothing, Failure, AbsenceToo };

    template <typename Interface>
    struct Row {
        const char* name;
        const char* getter;  // as the trace names who asks for it
        Need need;
        Traced traced;
    };

    static constexpr std::tuple kRows = {
        Row<IOPCItemMgt>{"IOPCItemMgt", "DaGroupMgtPrivate::GetIOPCItemMgt", Need::Offered, Traced::Nothing},
        Row<IOPCGroupStateMgt>{"IOPCGroupStateMgt", "DaGroupMgtPrivate::GetIOPCGroupStateMgt", Need::Required,
                               Traced::Failure},
        Row<IOPCSyncIO>{"IOPCSyncIO", "DaGroupMgtPrivate::GetIOPCSyncIO", Need::Required, Traced::AbsenceToo},
        Row<IOPCAsyncIO2>{"IOPCAsyncIO2", "DaGroupMgtPrivate::GetIOPCAsyncIO2", Need::Required, Traced::AbsenceToo},
        Row<IOPCSyncIO2>{"IOPCSyncIO2", "DaGroupMgtPrivate::GetIOPCSyncIO2", Need::Optional, Traced::AbsenceToo},
        Row<IOPCAsyncIO3>{"IOPCAsyncIO3", "DaGroupMgtPrivate::GetIOPCAsyncIO3", Need::Optional, Traced::AbsenceToo},
    };
    // Its release tells how many references the server's group has left.
    using ReleasedLast = IOPCGroupStateMgt;

    template <template <typename> class Holder, typename Rows>
    struct Each;
    template <template <typename> class Holder, typename... Interfaces>
    struct Each<Holder, const std::tuple<Row<Interfaces>...>> {
        using Type = std::tuple<Holder<Interfaces>...>;
    };

public:
    using Found = Each<Korvex::Com::ComPtr, decltype(kRows)>::Type;

    // Asks `itemMgt` for the other interfaces. Fails without the required ones.
    static HRESULT query(IOPCItemMgt* itemMgt, Found& found);
    // Keeps what was found. On failure some may be kept.
    HRESULT keep(Found& found);
    // Gives all up. Answers the code of the last revocation, S_OK in a multi-threaded apartment.
    HRESULT release();

    // Empty on failure.
    template <typename Interface>
    BorrowedInterface<Interface> borrow() const {
        return borrow(std::get<Row<Interface>>(kRows));
    }
    // The group's connection point for data callbacks, asked for once; empty on failure.
    BorrowedInterface<IConnectionPoint> borrowDataPoint();

private:
    template <typename Interface>
    static HRESULT queryOne(const Row<Interface>& row, Found& found);
    template <typename Interface>
    HRESULT keepOne(const Row<Interface>& row, Found& found);
    template <typename Interface>
    BorrowedInterface<Interface> borrow(const Row<Interface>& row) const;
    HRESULT findDataPoint(IOPCItemMgt& asked);

    Korvex::Com::ComPtr<IGlobalInterfaceTable> interfaceTable_;
    Each<ApartmentInterface, decltype(kRows)>::Type kept_;
    ApartmentInterface<IConnectionPoint> dataPoint_;
};

template <typename Interface>
BorrowedInterface<Interface> GroupInterfaces::borrow(const Row<Interface>& row) const {
    const auto& kept = std::get<ApartmentInterface<Interface>>(kept_);
    if (interfaceTable_ && !kept.isKept()) {
        if (row.traced == Traced::AbsenceToo) LibT::lError("Error %s: cookie for %s is 0", row.getter, row.name);
        return {};
    }
    HRESULT hr = S_OK;
    auto borrowed = kept.borrow(interfaceTable_.get(), hr);
    if (interfaceTable_ && failed(hr) && row.traced != Traced::Nothing) {
        LibT::lError("Error %s: GetInterfaceFromGlobal from GIT for %s [hr=0x%lx]", row.getter, row.name, hr);
    }
    return borrowed;
}

}  // namespace OpxOpc
