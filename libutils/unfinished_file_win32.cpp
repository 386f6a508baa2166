#include "libutils/unfinished_file.h"

#include <fcntl.h>
#include <io.h>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace libutils::unfinished_file {

namespace fs = std::filesystem;

// Tries again while another process has the file: for half a second, as many have one for a moment only.
template <class Attempt>
static bool patiently(const Attempt& attempt) {
    constexpr ULONGLONG patience = 500;
    const ULONGLONG begin = GetTickCount64();
    while (!attempt()) {
        const DWORD reason = GetLastError();
        if ((reason != ERROR_SHARING_VIOLATION && reason != ERROR_ACCESS_DENIED) ||
            GetTickCount64() - begin > patience)
            return false;
        Sleep(1);
    }
    return true;
}

std::FILE* create(const fs::path& name, std::intptr_t& hold) {
    // Shared for renaming, which opens the file a second time. Who wants it alone, as remove_abandoned()
    // does, does not get it.
    const HANDLE file =
        CreateFileW(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return nullptr;
    HANDLE held = nullptr;
    const HANDLE process = GetCurrentProcess();
    const int descriptor = DuplicateHandle(process, file, process, &held, 0, FALSE, DUPLICATE_SAME_ACCESS)
                               ? _open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_BINARY)
                               : -1;
    std::FILE* const stream = descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
    if (stream) {
        hold = reinterpret_cast<std::intptr_t>(held);
    } else {
        DeleteFileW(name.c_str());
        if (descriptor < 0)
            CloseHandle(file);
        else
            _close(descriptor);
        if (held) CloseHandle(held);
    }
    return stream;
}

void let_go(std::intptr_t hold) {
    CloseHandle(reinterpret_cast<HANDLE>(hold));
}

void remove_abandoned(const fs::path& unnumbered) {
    const std::wstring beginning = unnumbered.filename().wstring();
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW((unnumbered.wstring() + L'*').c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        if (!is_numbered<wchar_t>(entry.cFileName, beginning)) continue;
        const HANDLE alone =
            CreateFileW((unnumbered.parent_path() / entry.cFileName).c_str(), DELETE, 0, nullptr,
                        OPEN_EXISTING, FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
        if (alone != INVALID_HANDLE_VALUE) CloseHandle(alone);
    } while (FindNextFileW(search, &entry));
    FindClose(search);
}

std::FILE* open_in_place(const fs::path& name) {
    return _wfopen(name.c_str(), L"wb");
}

bool may_write(const fs::path& name) {
    return patiently([&] {
        const HANDLE file =
            CreateFileW(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return GetLastError() == ERROR_FILE_NOT_FOUND; // just being replaced
        return CloseHandle(file) != FALSE;
    });
}

bool replace(const fs::path& from, const fs::path& to) {
    return patiently([&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING); });
}

} // namespace libutils::unfinished_file
