// The OPC servers of a system that has no COM registry: a folder of small text files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "com/com.h"

namespace Korvex::Com {

// Where a module's objects may be called: on the thread that made them, on threads of the multi-threaded apartment, or
// on either.
enum class ThreadingModel { apartment, free, both };

struct RegisteredServer {
    OpxString progId;
    OpxString versionIndependentProgId;  // may be empty
    CLSID clsid{};
    OpxString description;
    std::vector<CATID> categories;
    std::filesystem::path module;   // a shared object that exports DllGetClassObject; empty for a program
    std::filesystem::path program;  // started for its clients; empty for a module
    ThreadingModel threadingModel = ThreadingModel::both;
};

// One file a server, NAME.server, with lines such as
//
//   # comment
//   ProgID=Vendor.Server.1
//   VersionIndependentProgID=Vendor.Server
//   CLSID={11111111-2222-3333-4444-555555555555}
//   Description=Vendor's server
//   Categories={63D5F432-CFE4-11D1-B2C8-0060083BA1FB},{CC603642-66D7-48F1-B69A-B625E73652D7}
//   Module=libVendorServer.so
//
// in UTF-8; a relative module lies relative to the file. Program may name a program instead, in the same way, and
// ThreadingModel may be Apartment, Free or Both; Both is what a file means that has none. Searched are, in this
// order, the folders that KORVEX_OPC_SERVERS names (separated by ":"), the user's data folder and the installation;
// the first file of a class identifier counts. A file that others may write to, or that lies in a folder of which
// that holds, says no server.
class KORVEX_COM_API ServerRegistry {
public:
    // A file that says no server, and why.
    struct BrokenFile {
        std::filesystem::path file;
        std::string reason;
    };

    // The registry as the files are now. The calling thread remembers the broken ones for takeBrokenFiles.
    static ServerRegistry read();

    // The user's own folder; empty for one without a home.
    static std::filesystem::path usersFolder();

    const std::vector<RegisteredServer>& servers() const noexcept { return servers_; }
    const std::vector<BrokenFile>& brokenFiles() const noexcept { return brokenFiles_; }

    std::optional<RegisteredServer> find(REFCLSID clsid) const;
    // By ProgID or version-independent ProgID, without regard to case.
    std::optional<RegisteredServer> findProgId(OpxStringView progId) const;

private:
    void readFolder(const std::filesystem::path& folder);
    void readFile(const std::filesystem::path& file);

    std::vector<RegisteredServer> servers_;
    std::vector<BrokenFile> brokenFiles_;
};

// Whether the runtime has the class itself, which then no file says.
KORVEX_COM_API bool isBuiltInClass(REFCLSID clsid);

// A sentence for each file that the calling thread's last look found broken, told once.
KORVEX_COM_API std::vector<OpxString> takeBrokenFiles();

// Returns the loader's message about the module that the calling thread's last activation could not load;
// told once, empty where none failed.
KORVEX_COM_API OpxString takeLoadFailure();

}  // namespace Korvex::Com
