// How the trace is configured: by an XML file that lies beside the library.
//
//   <Configuration>
//     <Trace TraceLevel="6" MaxTraceEntries="10000" NumberOfBackupFiles="5"
//            TraceFileName="C:\Temp\client.log" ApplicationName="Client"/>
//     <ErrorTrace TraceFileName="C:\Temp\client_err.log"/>
//   </Configuration>
#pragma once

#include <cstdint>
#include <filesystem>

#include "com/com.h"

namespace OpxOpc {

// The settings of a configuration file.
struct TraceConfiguration {
    struct File {
        OpxString name;
        OpxString programName;
        bool isNamed() const { return !name.empty() && !programName.empty(); }
    };

    std::uint32_t level = 0;
    std::uint32_t lineLimit = 10000;
    std::uint32_t backups = 5;
    File trace;
    File errors;

    bool wantsTrace = false;
    bool wantsErrors = false;
};

// Reads `file`. `programName` is the name for the headers if the file tells none. Neither file is
// wanted if it cannot be read; one whose element is absent or useless is not.
TraceConfiguration readTraceConfiguration(const std::filesystem::path& file, const OpxString& programName);

// The configuration file of the library or program `module`: "libKorvexOpc.so.1" has
// "libKorvexOpc.config" beside it, "KorvexOpc.dll" has "KorvexOpc.config".
std::filesystem::path traceConfigurationFile(const std::filesystem::path& module);

// Opens the files that the configuration asks for and switches the trace on, if it is off and there is
// a configuration file: that of this module, or that which the environment variable
// KORVEX_OPC_TRACE_CONFIG names. Every object that an application may create first calls this first.
void checkTrace() noexcept;

}  // namespace OpxOpc
