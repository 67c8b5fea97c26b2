// Which program serves a class, among those of a user that run.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

#include "com/com.h"
#include "com/portable/local/LocalSocket.h"
#include "com/portable/local/RuntimeFolder.h"

namespace Korvex::Com {

// A link in the runtime folder for each class leads to the socket of the program that registered the class last.
// Throws LocalFailure for any failure but that no program serves the class.
class ClassDirectory {
public:
    static constexpr std::chrono::seconds kConnectingLasts{10};
    static constexpr std::chrono::seconds kStartingLasts{30};

    explicit ClassDirectory(const RuntimeFolder& folder) noexcept : folder_(folder) {}

    // The program with this socket serves the class from now on.
    void add(REFCLSID clsid, const std::string& socket) const;
    // Takes that back; does nothing if another program has registered the class since. Anybody may do it for a program
    // that crashed.
    void remove(REFCLSID clsid, const std::string& socket) const;

    // Connects to the program that serves the class; null where none runs. A crashed program's link is removed.
    std::unique_ptr<LocalSocket> connect(REFCLSID clsid) const;
    // Starts `program` where none serves the class, and waits until it does. Of several clients one starts it and all
    // wait. The failure is CO_E_SERVER_EXEC_FAILURE if it ends before, which is noticed at once, or takes too long.
    std::unique_ptr<LocalSocket> connectOrStart(REFCLSID clsid, const std::filesystem::path& program,
                                                std::chrono::milliseconds patience = kStartingLasts) const;

private:
    std::string socketOf(const std::string& link) const;
    std::unique_ptr<LocalSocket> start(REFCLSID clsid, const std::filesystem::path& program,
                                       const Deadline& deadline) const;

    const RuntimeFolder& folder_;
};

}  // namespace Korvex::Com
