// Calls of a group's data callbacks.
#pragma once

#include <vector>

#include "sim/group/GroupItem.h"

namespace Korvex::Simulation {

class Group;

// One item of a callback.
struct Delivery {
    OPCHANDLE clientHandle;
    Sample sample;  // of a write only its error counts
};

enum class CallbackKind { dataChange, readComplete, writeComplete };

struct Callback {
    CallbackKind kind;
    DWORD transaction = 0;
    std::vector<Delivery> items{};
    bool withoutArrays = false;
};

// Calls every sink of the group, unless the server is dead. No lock may be held.
void callSinks(Group& group, const Callback& callback);
void callSinksOfCancelled(Group& group, DWORD transaction);

}  // namespace Korvex::Simulation
