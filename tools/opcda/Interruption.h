// The user's wish to end the program.
#pragma once

namespace Korvex::Tool {

// While one exists, the first Ctrl-C or request to terminate is noted; the second ends the program, should
// it hang meanwhile. Only one may exist at a time.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    bool requested() const noexcept;

private:
    using Handler = void (*)(int);

    Handler previousInterrupt_;
    Handler previousTerminate_;
};

}  // namespace Korvex::Tool
