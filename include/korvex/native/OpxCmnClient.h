// Finding servers, and the process-wide trace.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/export.h>
#include <korvex/native/OpxServerIdentifier.h>
#include <korvex/text.h>

namespace OpxOpc {

/// The first living object initialises COM for its thread, the last one undoes that: create and
/// destroy objects on one thread at a time. Operations return HRESULTs and do not throw.
class KORVEX_OPC_API OpxCmnClient {
public:
    OpxCmnClient();
    ~OpxCmnClient();
    OpxCmnClient(const OpxCmnClient&) = delete;
    OpxCmnClient& operator=(const OpxCmnClient&) = delete;

    /// Asks the server list on `host` (empty: this machine) for the class identifier of `progId`;
    /// `clsid` becomes its text with braces, and stays as it is on failure.
    std::int32_t clsidFromProgId(const OpxString& host, const OpxString& progId, OpxString& clsid);

    /// Lists the servers of `host` (empty: this machine) that belong to `categories`, in their order, or with
    /// `allCategories` to any of the four that COM has; one that belongs to several comes once for each.
    /// E_INVALIDARG for a category that is none. `servers` is empty on failure.
    std::int32_t enumComServer(const OpxString& host, bool allCategories, const std::vector<ServerCategory>& categories,
                               std::vector<OpxServerIdentifier>& servers);

    /// Switches tracing on and off; connection events are traced either way.
    static void setTraceActive(bool active);
    /// Whether a trace is written.
    static bool isTraceActive();

    /// Opens the trace file: levels 1 (errors) to 7 (parameters); a new file after `lineLimit` lines,
    /// `backups` numbered old ones. 0, or -1 when one is open already or it cannot be created.
    static std::int32_t initTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups,
                                  const OpxString& file, const OpxString& programName);

    /// Opens the file that takes errors, warnings and information: 0, or -1 as above.
    static std::int32_t initErrorTrace(const OpxString& file, const OpxString& programName);
};

}  // namespace OpxOpc
