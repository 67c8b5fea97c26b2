#include "trace/TraceConfiguration.h"

#include <gtest/gtest.h>

#include "tests/trace/TraceFolder.h"

namespace OpxOpc {
namespace {

using Korvex::Testing::TraceFolder;

// What a configuration opens: "LEVEL LIMIT BACKUPS FILE PROGRAM", then "| FILE PROGRAM" for errors.
std::string described(const TraceConfiguration& configuration) {
    std::string text;
    if (configuration.wantsTrace) {
        text = std::to_string(configuration.level) + " " + std::to_string(configuration.lineLimit) + " " +
               std::to_string(configuration.backups) + " " + toUtf8(configuration.trace.name) + " " +
               toUtf8(configuration.trace.programName);
    }
    if (configuration.wantsErrors) {
        text += "| " + toUtf8(configuration.errors.name) + " " + toUtf8(configuration.errors.programName);
    }
    return text;
}

TEST(TraceConfiguration, OpensWhatTheFileAsksFor) {
    const std::pair<std::string, std::string> table[] = {
        {"<Trace TraceLevel='6' MaxTraceEntries='20' NumberOfBackupFiles='2' TraceFileName='C:\\T\\c.log' "
         "ApplicationName='Client'/><ErrorTrace TraceFileName='e.log'/>",
         "6 20 2 C:\\T\\c.log Client| e.log Client"},
        {"<Trace TraceLevel='1'/>", "1 10000 5 trace.log host"},
        {"<Trace TraceLevel='7' TraceFileName='' ApplicationName='' MaxTraceEntries='' NumberOfBackupFiles=''/>",
         "7 10000 5 trace.log host"},
        {"<Trace TraceLevel='7' TraceFileName='c.log'/><ErrorTrace/>", "7 10000 5 c.log host| c.log host"},
        {"<Trace TraceLevel='7'/><ErrorTrace ApplicationName='Errors'/>", "7 10000 5 trace.log host| trace.log Errors"},
        {"<Trace TraceLevel='0' TraceFileName='c.log'/><ErrorTrace/>", "| c.log host"},
        {"<ErrorTrace TraceFileName='e.log'/>", "| e.log host"},
        {"<Trace/>", ""},
        {"<Trace TraceLevel='8'/>", ""},
        {"<Trace TraceLevel='7' MaxTraceEntries='0'/>", ""},
        {"<Trace TraceLevel='7' NumberOfBackupFiles='0'/>", ""},
        {"<Trace TraceLevel='-1'/>", ""},
        {"<Trace TraceLevel='six'/>", ""},
        {"<Trace TraceLevel='6x'/>", ""},
        {"<Trace TraceLevel='4294967302'/>", ""},
        {"<Trace TraceLevel='7' MaxTraceEntries='1e3' TraceFileName='c.log'/><ErrorTrace/>", "| c.log host"},
        {"", ""},
        {"<Other><Trace TraceLevel='7'/></Other>", ""},
        {"<Trace TraceLevel='7'/><ErrorTrace", ""},
    };
    const TraceFolder folder;
    for (const auto& [elements, expected] : table) {
        const auto file = folder.create("trace.config", "<Configuration>" + elements + "</Configuration>");
        EXPECT_EQ(described(readTraceConfiguration(file, OLESTR("host"))), expected) << elements;
    }
    EXPECT_EQ(described(readTraceConfiguration(folder / "absent.config", OLESTR("host"))), "");
}

TEST(TraceConfiguration, LiesBesideTheModule) {
    const std::pair<std::string, std::string> table[] = {
        {"lib/libKorvexOpc.so", "lib/libKorvexOpc.config"},
        {"lib/libKorvexOpc.so.1", "lib/libKorvexOpc.config"},
        {"lib/libKorvexOpc.so.1.0.0", "lib/libKorvexOpc.config"},
        {"bin/KorvexOpc.dll", "bin/KorvexOpc.config"},
        {"bin/opcda", "bin/opcda.config"},
        {"bin/opcda.exe", "bin/opcda.config"},
        {"my.so.folder/tool.sonar.exe", "my.so.folder/tool.sonar.config"},
    };
    for (const auto& [module, file] : table) {
        EXPECT_EQ(traceConfigurationFile(module).generic_string(), file) << module;
    }
}

}  // namespace
}  // namespace OpxOpc
