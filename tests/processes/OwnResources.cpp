#include "tests/processes/OwnResources.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <vector>

#include <korvex/text.h>

#include "tests/processes/ServerProgram.h"

namespace Korvex::Testing {
namespace {

// What the kernel tells although its headers do not declare it: the query takes any number, the header's enumeration
// does not.
constexpr ULONG kExtendedHandleInformation = 64;
constexpr auto kObjectTypeInformation = static_cast<OBJECT_INFORMATION_CLASS>(2);

NTSTATUS querySystem(ULONG kind, void* memory, ULONG size) {
    using Query = NTSTATUS(NTAPI*)(ULONG, void*, ULONG, ULONG*);
    static const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    return query(kind, memory, size, nullptr);
}

struct HandleEntry {
    void* object;
    ULONG_PTR process;
    ULONG_PTR value;
    ULONG access;
    USHORT creatorBackTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};
struct HandleList {
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry first;
};

std::string kindOf(HANDLE handle) {
    alignas(UNICODE_STRING) char memory[1024] = {};
    ULONG length = 0;
    if (NtQueryObject(handle, kObjectTypeInformation, memory, sizeof memory, &length) != 0) return {};
    const auto* const name = reinterpret_cast<const UNICODE_STRING*>(memory);
    return toUtf8(OpxString(name->Buffer, name->Length / sizeof(OLECHAR)));
}

}  // namespace

std::map<std::string, int> ownHandles() {
    std::map<std::string, int> kinds;
    std::vector<HandleEntry> memory(1 << 16);
    const auto size = static_cast<ULONG>(memory.size() * sizeof(HandleEntry));
    if (querySystem(kExtendedHandleInformation, memory.data(), size) != 0) return kinds;
    const auto* const list = reinterpret_cast<const HandleList*>(memory.data());
    const HandleEntry* const first = &list->first;
    std::for_each(first, first + list->count, [&](const HandleEntry& entry) {
        // One that is closed meanwhile has no kind any more.
        if (entry.process != GetCurrentProcessId()) return;
        const std::string kind = kindOf(reinterpret_cast<HANDLE>(entry.value));
        if (!kind.empty()) ++kinds[kind];
    });
    return kinds;
}

int ownThreads() {
    int count = 0;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 thread = {};
    thread.dwSize = sizeof thread;
    for (BOOL more = Thread32First(snapshot.get(), &thread); more; more = Thread32Next(snapshot.get(), &thread))
        if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    return count;
}

}  // namespace Korvex::Testing
