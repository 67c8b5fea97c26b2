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
    // METHOD is written "IOPCServer::AddGroup", "IOPCItemMgt::QueryInterface (IID_IOPCSyncIO)", ...;
    // a code in hexadecimal ("0x80004005"); words are separated by single blanks.
    //
    //   reset                       forgets faults, journal and item changes; revives the server
    //   fault METHOD CODE [N]       the N-th call from now (every call when N is absent) answers CODE
    //   refuse INTERFACE            QueryInterface answers E_NOINTERFACE ("refuse IOPCBrowse")
    //   accept INTERFACE            takes that back
    //   profile 2|3                 2 refuses every data access 3.0 interface, 3 accepts all
    //   delay METHOD MILLISECONDS   every call takes that much longer; 0 takes it back
    //   hang METHOD                 calls do not return until "release METHOD" or "reset"
    //   release METHOD
    //   dead                        every call of every object answers 0x800706BA
    //   alive                       takes that back
    //   state N                     dwServerState of GetStatus
    //   answer METHOD KIND          success with nonsense: "null" (null arrays), ...; "answer METHOD" ends it
    //   shutdown [REASON]           calls ShutdownRequest on every advised sink; null reason if absent
    //   item ID error CODE          reads of the item fail with CODE; 0x0 takes it back
    //   item ID quality CODE        OPC quality word reported with the item
    //   item ID value TYPE TEXT     the item reports a value of that VARTYPE (decimal number) as is,
    //                               whatever its canonical type
    //   item ID addresult CODE      AddItems refuses the item with CODE
    //   item ID canonical TYPE      VARTYPE reported as canonical when the item is added
    //   locales LCID,LCID,...       the locales that SetLocaleID accepts, decimal
    //   journal                     one line a call of an OPC method since the last "journal clear",
    //                               "IOPCServer::AddGroup name=Main rate=2000 ... -> 0x00000000"
    //   journal clear
    //   counts                      living objects, one line each: "servers=1", "groups=2", "items=7",
    //                               "sinks=1", "shutdownsinks=1"
    virtual HRESULT STDMETHODCALLTYPE Execute(LPCOLESTR command, LPOLESTR* answer) = 0;
};

template <>
inline const IID& iidOf<ISimulationControl>() noexcept {
    return IID_ISimulationControl;
}
