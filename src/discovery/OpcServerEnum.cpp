#include <korvex/opc_cmn/OpcServerEnum.h>

#include <utility>

#include <korvex/native/OpxCmnClient.h>
#include <korvex/opc_da_client/Exceptions.h>

#include "trace/TraceConfiguration.h"

namespace Korvex::OPC::OpcCmn {

using OpcDaClient::ComException;
using OpcDaClient::NullReferenceException;

struct OpcServerEnum::Private {
    OpxOpc::OpxCmnClient client;
};

OpcServerEnum::OpcServerEnum() {
    CheckTrace();
    d_ = std::make_shared<Private>();
}

OpcServerEnum::~OpcServerEnum() = default;

void OpcServerEnum::Dispose() {
    d_.reset();
}

void OpcServerEnum::CheckTrace() {
    OpxOpc::checkTrace();
}

void OpcServerEnum::EnumComServer(const NullableText& host, bool allCategories,
                                  const NullableArray<ServerCategory>& categories,
                                  std::vector<ServerIdentifier>& servers) {
    if (!d_ || (!allCategories && categories.isNull())) throw NullReferenceException();
    std::vector<OpxOpc::ServerCategory> wanted;
    for (std::size_t i = 0; i < categories.size(); ++i)
        wanted.push_back(static_cast<OpxOpc::ServerCategory>(categories[i]));

    std::vector<OpxOpc::OpxServerIdentifier> found;
    const std::int32_t hr = d_->client.enumComServer(host.valueOrEmpty(), allCategories, wanted, found);
    if (hr < 0) throw ComException(hr);
    std::vector<ServerIdentifier> identifiers;
    for (const auto& server : found) identifiers.emplace_back(NullableText(server.GetURL()));
    servers = std::move(identifiers);
}

void OpcServerEnum::ClsidFromProgId(const NullableText& host, const NullableText& progId, OpxString& clsid) {
    if (!d_) throw NullReferenceException();
    OpxString found;
    d_->client.clsidFromProgId(host.valueOrEmpty(), progId.valueOrEmpty(), found);
    clsid = std::move(found);
}

}  // namespace Korvex::OPC::OpcCmn
