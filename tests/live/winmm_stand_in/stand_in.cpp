#include "stand_in.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace winmm_stand_in {

std::string variable(const char* name, const char* otherwise) {
    // Not getenv: it cannot tell an empty variable from none on this system.
    char value[32768];
    SetLastError(ERROR_SUCCESS);
    const DWORD length = GetEnvironmentVariableA(name, value, sizeof value);
    if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return otherwise;
    return {value, length};
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, separator);)
        if (!part.empty()) parts.push_back(part);
    return parts;
}

void note(const std::string& line) {
    static const HANDLE file =
        CreateFileA(variable("QUENVAREL_WINMM_LOG", "").c_str(), FILE_APPEND_DATA,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const std::string text = line + "\n";
    static std::mutex writing; // Wine's appending is not proof against another thread's
    const std::lock_guard lock(writing);
    DWORD written;
    WriteFile(file, text.data(), DWORD(text.size()), &written, nullptr);
}

std::string hex(const void* bytes, std::size_t count) {
    static const char digits[] = "0123456789abcdef";
    const auto* const data = static_cast<const unsigned char*>(bytes);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ' ';
        text += {digits[data[i] >> 4], digits[data[i] & 15]};
    }
    return text;
}

// The number that the rules in the environment variable have for this call of the function.
static std::optional<unsigned long> rule_for(const char* name, const std::string& function, unsigned count) {
    for (const std::string& rule : split(variable(name, ""), ';')) {
        const std::size_t equals = rule.find('=');
        const std::string which = rule.substr(0, equals);
        if (which == function || which == function + "#" + std::to_string(count))
            return std::stoul(rule.substr(equals + 1));
    }
    return std::nullopt;
}

std::optional<MMRESULT> begin_call(const std::string& function) {
    static std::mutex counting;
    static std::map<std::string, unsigned> calls;
    unsigned count;
    {
        const std::lock_guard lock(counting);
        count = ++calls[function];
    }
    if (const auto milliseconds = rule_for("QUENVAREL_WINMM_SLOW", function, count)) Sleep(*milliseconds);
    const auto code = rule_for("QUENVAREL_WINMM_FAIL", function, count);
    return code ? std::optional(MMRESULT(*code)) : std::nullopt;
}

bool half::has(const MIDIHDR* header) const {
    return std::find(buffers.begin(), buffers.end(), header) != buffers.end();
}

UINT half::count() const {
    note(name + "GetNumDevs -> " + std::to_string(devices.size()));
    return UINT(devices.size());
}

MMRESULT half::prepare(const void* handle, MIDIHDR* header, const std::string& arguments) {
    return on(handle, "PrepareHeader", arguments, [&](auto&) -> MMRESULT {
        header->dwFlags |= MHDR_PREPARED;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT half::unprepare(const void* handle, MIDIHDR* header) {
    return on(handle, "UnprepareHeader", "", [&](auto&) -> MMRESULT {
        if (has(header)) return MIDIERR_STILLPLAYING;
        header->dwFlags &= ~DWORD(MHDR_PREPARED);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT half::take(MIDIHDR* header) {
    if (!(header->dwFlags & MHDR_PREPARED)) return MIDIERR_UNPREPARED;
    if (has(header)) return MIDIERR_STILLPLAYING;
    header->dwFlags = (header->dwFlags | MHDR_INQUEUE) & ~DWORD(MHDR_DONE);
    buffers.push_back(header);
    return MMSYSERR_NOERROR;
}

} // namespace winmm_stand_in
