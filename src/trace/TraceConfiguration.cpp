#include "trace/TraceConfiguration.h"

#include <charconv>
#include <string>
#include <system_error>

#include "com/platform.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

namespace fs = std::filesystem;
using Attributes = std::map<OpxString, OpxString>;

// Replaces `value` by the attribute's text if there is one.
void readText(const Attributes& attributes, const OLECHAR* name, OpxString& value) {
    const auto found = attributes.find(name);
    if (found != attributes.end() && !found->second.empty()) value = found->second;
}

// As above; false if the text is not an unsigned decimal number.
bool readNumber(const Attributes& attributes, const OLECHAR* name, std::uint32_t& value) {
    OpxString text;
    readText(attributes, name, text);
    if (text.empty()) return true;
    const std::string digits = toUtf8(text);
    const char* const end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

void readFile(const Attributes& attributes, TraceConfiguration::File& file) {
    readText(attributes, OLESTR("TraceFileName"), file.name);
    readText(attributes, OLESTR("ApplicationName"), file.programName);
}

void readTrace(const Attributes& attributes, TraceConfiguration& configuration) {
    const bool numbersAreGood = readNumber(attributes, OLESTR("TraceLevel"), configuration.level) &&
                                readNumber(attributes, OLESTR("MaxTraceEntries"), configuration.lineLimit) &&
                                readNumber(attributes, OLESTR("NumberOfBackupFiles"), configuration.backups);
    readFile(attributes, configuration.trace);
    configuration.wantsTrace = numbersAreGood && configuration.level >= 1 && configuration.level <= LibT::kHighest &&
                               configuration.lineLimit > 0 && configuration.backups > 0 &&
                               configuration.trace.isNamed();
}

void apply(const TraceConfiguration& configuration) {
    if (configuration.wantsTrace) {
        LibT::initTrace(configuration.level, configuration.lineLimit, configuration.backups, configuration.trace.name,
                        configuration.trace.programName);
    }
    if (configuration.wantsErrors) LibT::initErrorTrace(configuration.errors.name, configuration.errors.programName);
    LibT::setTraceActive(true);
}

// Lies in the module whose configuration counts.
const char moduleAnchor = 0;

fs::path configurationFile() {
    const auto named = Korvex::Com::environmentVariable("KORVEX_OPC_TRACE_CONFIG");
    if (named && !named->empty()) return fs::path(*named);
    return traceConfigurationFile(Korvex::Com::modulePathOf(&moduleAnchor));
}

void configureFromFile() {
    const fs::path file = configurationFile();
    std::error_code absent;
    if (!fs::is_regular_file(file, absent)) return;
    apply(readTraceConfiguration(file, Korvex::Com::programPath().stem().string<OLECHAR>()));
}

}  // namespace

TraceConfiguration readTraceConfiguration(const fs::path& file, const OpxString& programName) {
    const OpxString trace = OLESTR("Trace");
    const OpxString errorTrace = OLESTR("ErrorTrace");
    TraceConfiguration configuration;
    configuration.trace = {OLESTR("trace.log"), programName};
    const auto elements = Korvex::Com::readXmlAttributes(file, {trace, errorTrace});
    if (!elements) return configuration;
    if (const auto found = elements->find(trace); found != elements->end()) readTrace(found->second, configuration);
    configuration.errors = configuration.trace;
    if (const auto found = elements->find(errorTrace); found != elements->end()) {
        readFile(found->second, configuration.errors);
        configuration.wantsErrors = configuration.errors.isNamed();
    }
    return configuration;
}

fs::path traceConfigurationFile(const fs::path& module) {
    const fs::path name = module.filename();
    const fs::path librarySuffix = ".so";
    // A library's version follows its suffix: cut at the suffix, not at the last dot.
    fs::path stem = name;
    while (stem.has_extension() && stem.extension() != librarySuffix) stem = stem.stem();
    if (stem.extension() != librarySuffix) stem = name;
    return module.parent_path() / stem.replace_extension(".config");
}

void checkTrace() noexcept {
    if (LibT::isTraceActive()) return;
    try {
        configureFromFile();
    } catch (...) {
        // A configuration that cannot be had is none.
    }
}

}  // namespace OpxOpc
