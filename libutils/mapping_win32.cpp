#include "libutils/file_view.h"
#include "libutils/mapping.h"

#include <algorithm>
#include <cstring>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace libutils::mapping {

namespace {

// No file at all is INVALID_HANDLE_VALUE, which is -1.
HANDLE handle(std::intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}

// Views begin at multiples of this many bytes of the file.
std::uint64_t granularity() {
    static const std::uint64_t size = [] {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        return std::uint64_t(info.dwAllocationGranularity);
    }();
    return size;
}

// Many have a file open for a moment only: a second program of ours that starts as well, or a virus scanner.
constexpr ULONGLONG patience = 500; // milliseconds

HANDLE open_patiently(const char* name, DWORD rights) {
    const ULONGLONG begin = GetTickCount64();
    for (;;) {
        const HANDLE opened = CreateFileA(name, rights, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        if (opened != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION ||
            GetTickCount64() - begin > patience)
            return opened;
        Sleep(1);
    }
}

// A file that is mapped cannot be cut short here, but its disk or server can fail. Runs in the midst of the
// read that failed, which is then tried again.
LONG CALLBACK fill_hole(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& fault = *exception->ExceptionRecord;
    if (fault.ExceptionCode != EXCEPTION_IN_PAGE_ERROR || fault.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    file_view* const view = watched_view_at(reinterpret_cast<const void*>(fault.ExceptionInformation[1]));
    if (!view) return EXCEPTION_CONTINUE_SEARCH;
    // A view can only be unmapped whole.
    const std::uint64_t lead = reinterpret_cast<std::uintptr_t>(view->begin) % granularity();
    char* const begin = view->begin - lead;
    UnmapViewOfFile(begin);
    if (!VirtualAlloc(begin, SIZE_T(lead + view->size), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))
        return EXCEPTION_CONTINUE_SEARCH;
    view->has_hole = true;
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

void expect_holes() {
    AddVectoredExceptionHandler(TRUE, fill_hole);
}

file open(const char* name, protection mode) {
    const DWORD rights = mode == protection::read_write ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
    const HANDLE opened = open_patiently(name, rights);
    if (opened == INVALID_HANDLE_VALUE) return {};
    LARGE_INTEGER size;
    if (!GetFileSizeEx(opened, &size)) {
        const DWORD reason = GetLastError();
        CloseHandle(opened);
        SetLastError(reason);
        return {};
    }
    return {reinterpret_cast<std::intptr_t>(opened), std::uint64_t(size.QuadPart)};
}

void close(file& opened) {
    CloseHandle(handle(opened.handle));
    opened = {};
}

std::uint64_t size_now(const file& opened) {
    LARGE_INTEGER size;
    return GetFileSizeEx(handle(opened.handle), &size) ? std::uint64_t(size.QuadPart) : 0;
}

bool create(const file& over, protection mode, std::uint64_t size, object& made) {
    // The whole size is handed over, not just its low half: a request of 4 GiB and more must not become a
    // small one.
    const HANDLE mapping = CreateFileMappingA(handle(over.handle), nullptr, DWORD(mode), DWORD(size >> 32),
                                              DWORD(size), nullptr);
    if (!mapping) return false;
    made.handle = reinterpret_cast<std::intptr_t>(mapping);
    made.size = size != 0 ? size : over.size;
    return true;
}

void destroy(object& made) {
    if (made.handle) CloseHandle(handle(made.handle));
    made = {};
}

void* map(const object& from, const file&, access mode, std::uint64_t offset, std::uint64_t size) {
    if (offset > from.size || size > from.size - offset) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const std::uint64_t lead = offset % granularity();
    const std::uint64_t start = offset - lead;
    void* view = MapViewOfFile(handle(from.handle), DWORD(mode), DWORD(start >> 32), DWORD(start),
                               SIZE_T(size + lead));
    return view ? static_cast<char*>(view) + lead : nullptr;
}

void unmap(void* view, std::uint64_t) {
    const std::uint64_t lead = reinterpret_cast<std::uintptr_t>(view) % granularity();
    char* const begin = static_cast<char*>(view) - lead;
    if (!UnmapViewOfFile(begin)) VirtualFree(begin, 0, MEM_RELEASE); // see fill_hole()
}

void expect_filling(void*, std::uint64_t) {}

void* resize_memory(object& made, void* view, std::uint64_t size) {
    object larger;
    if (!create({}, protection::read_write, size, larger)) return nullptr;
    void* moved = map(larger, {}, access::write, 0, size);
    if (!moved) {
        destroy(larger);
        return nullptr;
    }
    std::memcpy(moved, view, std::size_t(std::min(made.size, size)));
    unmap(view, made.size);
    destroy(made);
    made = larger;
    return moved;
}

} // namespace libutils::mapping
