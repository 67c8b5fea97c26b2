// The operations of a connection under the names that tables use.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/opc/group/GroupFixture.h"
#include "tests/support/rows.h"

namespace Korvex::Testing {

inline HRESULT setLocale(Connection& c, const OLECHAR* name) {
    OpxString locale = name;
    return c.server.setLocalID(locale);
}
inline HRESULT addItems(Connection& c, std::size_t count, bool validateOnly) {
    std::vector<OpxOpc::OpxItemIdentifier> items(count, itemNamed(OLESTR("Constant.Int32")));
    return c.group.addItems(items, c.errors, validateOnly);
}
inline HRESULT removeItems(Connection& c, std::size_t count) {
    std::vector<OpxOpc::OpxItemIdentifier> items(count);
    return c.group.removeItems(items, c.errors);
}
inline HRESULT write(Connection& c, std::size_t handles, std::size_t values) {
    return c.group.write(Handles(handles, 1), Variants(values, OpxOpc::OpxVariant::of(true)), Types(handles), c.errors);
}
inline HRESULT writeAsync(Connection& c, std::size_t handles, std::size_t values) {
    return c.group.writeAsync(1, Handles(handles, 1), Variants(values, OpxOpc::OpxVariant::of(true)), Types(handles),
                              c.errors);
}

inline HRESULT callNamed(const std::string& name, Connection& on) {
    static const std::map<std::string, HRESULT (*)(Connection&)> kCalls = {
        {"connect", [](Connection& c) { return c.connect(); }},
        {"disconnect", [](Connection& c) { return c.server.disconnectOPCServer(); }},
        {"status", [](Connection& c) { return c.server.getStatus(); }},
        {"locale", [](Connection& c) { return setLocale(c, OLESTR("de")); }},
        {"adviseShutdown", [](Connection& c) { return c.server.connectCallback(c.sharedClient); }},
        {"unadviseShutdown", [](Connection& c) { return c.server.disconnectCallback(); }},
        {"addGroup", [](Connection& c) { return c.server.addGroup(&c.group); }},
        {"addNoGroup", [](Connection& c) { return c.server.addGroup(nullptr); }},
        {"removeGroup", [](Connection& c) { return c.server.removeGroup(&c.group); }},
        {"removeNoGroup", [](Connection& c) { return c.server.removeGroup(nullptr); }},
        {"setActive", [](Connection& c) { return c.group.setActive(true); }},
        {"setDeadband", [](Connection& c) { return c.group.setDeadband(1); }},
        {"setUpdateRate", [](Connection& c) { return c.group.setUpdateRate(1); }},
        {"setState", [](Connection& c) { return c.group.setState(true, 1, 1); }},
        {"addItem", [](Connection& c) { return addItems(c, 1, false); }},
        {"addNothing", [](Connection& c) { return addItems(c, 0, false); }},
        {"validate", [](Connection& c) { return addItems(c, 1, true); }},
        {"removeItem", [](Connection& c) { return removeItems(c, 1); }},
        {"removeNothing", [](Connection& c) { return removeItems(c, 0); }},
        {"read", [](Connection& c) { return c.read(1); }},
        {"readAged", [](Connection& c) { return c.read(1, 500); }},
        {"readNothing", [](Connection& c) { return c.group.read(0, {}, {}, c.values, c.errors); }},
        {"readAsync", [](Connection& c) { return c.group.readAsync(1, 0, {1}, c.errors); }},
        {"readAsyncAged", [](Connection& c) { return c.group.readAsync(1, 500, {1}, c.errors); }},
        {"readAsyncNothing", [](Connection& c) { return c.group.readAsync(1, 0, {}, c.errors); }},
        {"write", [](Connection& c) { return write(c, 1, 1); }},
        {"writeNothing", [](Connection& c) { return write(c, 0, 0); }},
        {"writeTooFew", [](Connection& c) { return write(c, 2, 1); }},
        {"writeAsync", [](Connection& c) { return writeAsync(c, 1, 1); }},
        {"writeAsyncNothing", [](Connection& c) { return writeAsync(c, 0, 0); }},
        {"writeAsyncTooMany", [](Connection& c) { return writeAsync(c, 1, 2); }},
        {"advise", [](Connection& c) { return c.group.connectCallback(c.sharedClient); }},
        {"unadvise", [](Connection& c) { return c.group.disconnectCallback(); }},
        {"clear", [](Connection& c) { return c.group.clear(); }},
    };
    return kCalls.at(name)(on);
}

// Calls the operation that a row names and compares its result and what it wrote to the trace: lines that " ; "
// separates, which must be there, or must not be there after "no ".
inline void expectOutcome(Connection& c, const std::string& call, const std::string& result, const std::string& lines,
                          TraceCapture& trace) {
    trace.clear();
    EXPECT_EQ(hex(callNamed(call, c)), result);
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find(" ; ", begin), lines.size());
        std::string line = lines.substr(begin, end - begin);
        const bool wanted = line.rfind("no ", 0) != 0;
        if (!wanted) line.erase(0, 3);
        EXPECT_EQ(trace.has(line) || trace.has("  " + line), wanted) << line << "\n" << trace.dump();
        begin = end + 3;
    }
}

}  // namespace Korvex::Testing
