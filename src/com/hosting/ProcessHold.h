// Keeps the process of a server program alive. Everywhere else nothing needs to be
// kept, and holding costs nothing.
#pragma once

namespace Korvex::Com {

// Told of every hold that begins (+1) or ends (-1); null where nobody counts them. To be set before the first
// object is made.
inline void (*holdCounter)(int change) = nullptr;

inline void countHold(int change) {
    if (holdCounter) holdCounter(change);
}

// One object that a client may hold, or a client's lock of the server.
class ProcessHold {
public:
    ProcessHold() { countHold(1); }
    ~ProcessHold() { countHold(-1); }
    ProcessHold(const ProcessHold&) = delete;
    ProcessHold& operator=(const ProcessHold&) = delete;
};

}  // namespace Korvex::Com
