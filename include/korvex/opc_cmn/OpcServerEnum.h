// Finding OPC servers.
#pragma once

#include <memory>
#include <vector>

#include <korvex/export.h>
#include <korvex/opc_cmn/ServerCategory.h>
#include <korvex/opc_cmn/ServerIdentifier.h>
#include <korvex/opc_da_client/NullableArray.h>
#include <korvex/opc_da_client/NullableText.h>

namespace Korvex::OPC::OpcCmn {

using OpcDaClient::NullableArray;

/// Asks a machine's list of OPC servers. The first living object of the process initialises COM for its
/// thread: create and destroy objects on one thread at a time. The methods may be called from any.
class KORVEX_OPC_API OpcServerEnum {
public:
    /// Reads the trace configuration first.
    OpcServerEnum();
    ~OpcServerEnum();
    OpcServerEnum(const OpcServerEnum&) = delete;
    OpcServerEnum& operator=(const OpcServerEnum&) = delete;

    /// Lists the servers of `host`, empty for this machine: those of the categories in their order, or with
    /// `allCategories` of data access, data exchange, alarms and events and historical data access. A
    /// server that belongs to several is listed once for each. The URL of what is found connects as it is.
    ///
    /// Throws ComException with the code of the failure, E_INVALIDARG for a category that is none;
    /// NullReferenceException for null `categories` without `allCategories`. `servers` is then unchanged.
    void EnumComServer(const NullableText& host, bool allCategories, const NullableArray<ServerCategory>& categories,
                       std::vector<ServerIdentifier>& servers);

    /// The class identifier of `progId` on `host`, with braces. Empty where it cannot be found, which is
    /// no error.
    void ClsidFromProgId(const NullableText& host, const NullableText& progId, OpxString& clsid);

    /// Reads the process's trace configuration, once; every object that an application begins with does so.
    static void CheckTrace();

    /// Releases what the object holds; its methods then throw NullReferenceException.
    void Dispose();

private:
    struct Private;
    std::shared_ptr<Private> d_;
};

}  // namespace Korvex::OPC::OpcCmn
