// Waiting in the apartments of COM.
#pragma once

#include <chrono>

namespace OpxOpc {

// Sleeps; a thread of a single-threaded apartment takes the calls meanwhile that COM brings it, without
// which the object that it waits for could not answer.
void sleepTakingCalls(std::chrono::milliseconds duration);

}  // namespace OpxOpc
