// The simulation server's side door, through which tests and demonstrations steer it. It is not OPC:
// an OPC client never asks for it.
#pragma once

#include "com/com.h"

// Class and ProgID of the simulation server, "Korvex.Simulation.1".
inline constexpr CLSID CLSID_KorvexSimulation = {
    0x6B0E7A52, 0x3D1C, 0x4F0A, {0x9C, 0x4E, 0x21, 0x5B, 0x77, 0xD0, 0x18, 0xE3}};
#define KORVEX_SIMULATION_PROGID "Korvex.Simulation.1"

inline constexpr IID IID_ISimulationControl = {
    0x6B0E7A53, 0x3D1C, 0x4F0A, {0x9C, 0x4E, 0x21, 0x5B, 0x77, 0xD0, 0x18, 0xE3}};

// Every server object of the class answers QueryInterface for this interface, whatever faults are
// switched on, and all of them steer the same plant: items, faults and journal exist once in the
// process. Creating an object only to steer does not count as an OPC client until an OPC interface
// is asked of it.
struct ISimulationControl : public IUnknown {
    // Carries out one command and answers with text in task memory ("" where there is nothing to
    // say). E_INVALIDARG for a command that is not understood; the answer then says why.
    //
    // METHOD is written "IOPCServer::AddGroup"; a method that is about an interface names it as well:
    // "IOPCServer::QueryInterface (IID_IOPCBrowse)", "IOPCItemMgt::QueryInterface (IID_IOPCSyncIO)",
    // "IConnectionPoint::Advise (IID_IOPCShutdown)", "IConnectionPointContainer::FindConnectionPoint
    // (IID_IOPCDataCallback)", "IClassFactory::CreateInstance (IID_IOPCServer)". Without it the method
    // is meant for every interface. Queries of a server object are IOPCServer's, those of a group
    // IOPCItemMgt's, whichever of its interfaces they were made on. Codes are decimal or hexadecimal
    // ("0x80004005"); words are separated by single blanks.
    //
    //   reset                       forgets faults, options, journal and item changes; revives the
    //                               server and lets go what hangs
    //
    //   fault METHOD CODE [N]       the N-th call from now (every call when N is absent) answers CODE
    //   refuse INTERFACE            QueryInterface answers E_NOINTERFACE ("refuse IOPCBrowse")
    //   accept INTERFACE            takes that back
    //   profile 2|3                 2 refuses every data access 3.0 interface, 3 accepts all
    //   delay METHOD MILLISECONDS   every call takes that much longer; 0 takes it back
    //   hang METHOD                 calls do not return until "release METHOD" or "reset"
    //   release METHOD
    //   dead                        every call of every object answers 0x800706BA, callbacks stay away
    //   alive                       takes that back
    //   answer METHOD KIND          success with nonsense: "null" (no output at all), "null-values" (the
    //                               errors but no other array), "null-errors" (S_FALSE and no errors),
    //                               "hidden-errors" (S_OK with the items' errors)
    //   answer METHOD               ends it
    //
    //   async hold                  asynchronous operations wait, where they can be cancelled
    //   async release               lets them go on
    //   async drop                  completions never come
    //   async double                they come twice
    //   async unknown-transaction   they name a transaction that the client did not start
    //   async unknown-handle        the first item's client handle is none of the client's
    //   async early                 they come before the call that started them has returned
    //   async null                  they count items and bring no arrays
    //   async masters QUALITY ERROR masters of completions and data changes
    //   async normal                ends all of these
    //
    //   state N                     dwServerState of GetStatus
    //   locales LCID,LCID,...       the locales that SetLocaleID accepts, decimal
    //   organisation flat|hierarchical
    //   handles zero|usual          the first item of a group made from now on gets server handle 0
    //   blobs on|off                every second item is added with a blob
    //   browselimit N               elements that one IOPCBrowse::Browse returns at most; 0 is no limit
    //   deliver inside|later        a call that makes a group active brings the first data change itself,
    //                               before it returns, or leaves it to the server's thread
    //   load N                      items "Load.0" to "Load.<N-1>"; 1000 after a reset
    //   welcome shutdown|usual      a client that advises its shutdown sink is asked to leave before Advise
    //                               has returned
    //   shutdown [REASON]           calls ShutdownRequest on every advised sink; null reason if absent
    //
    //   revoke                      COM is told that the process serves no new clients, and starts another
    //                               one for them; those that there are stay. To be said before the process is
    //                               ended under its clients. E_INVALIDARG where the simulation is no program
    //
    //   item ID error CODE          reads of the item fail with CODE; 0x0 takes it back
    //   item ID writeerror CODE     the same for writes
    //   item ID quality CODE        OPC quality word reported with the item
    //   item ID value TYPE TEXT     the item reports a value of that VARTYPE (decimal number) as is,
    //                               whatever its canonical type and whatever was asked for; elements
    //                               of an array are separated by commas
    //   item ID array2d             it reports a two-dimensional array
    //   item ID nullarray           it reports an array type without array
    //   item ID time HEX            its FILETIME ("0x01DA0000FFFFFFFF")
    //   item ID addresult CODE      AddItems refuses the item with CODE
    //   item ID canonical TYPE      VARTYPE reported as canonical when the item is added
    //   item ID rights MASK         its access rights
    //   item ID normal              ends all of these
    //
    //   journal                     one line a call of an OPC method since the last "journal clear",
    //                               "IOPCServer::AddGroup name=Main active=1 rate=2000 ... -> 0x00000000",
    //                               in the order of arrival, "-> running" while it has not returned;
    //                               also "server released" and "group NAME released"
    //   journal clear
    //   written ID                  the VARTYPE and the value that the item's last write brought, before
    //                               the item converted it: "8 1.5", "8195 {1,2}", "0 " for none
    //   calls METHOD                how often it was called since the last reset
    //   counts                      living objects, one line each: "servers=1", "groups=2", "items=7",
    //                               "sinks=1", "shutdownsinks=1", "references=9" (of servers and groups,
    //                               the server's own included)
    virtual HRESULT STDMETHODCALLTYPE Execute(LPCOLESTR command, LPOLESTR* answer) = 0;
};

template <>
inline const IID& iidOf<ISimulationControl>() noexcept {
    return IID_ISimulationControl;
}
