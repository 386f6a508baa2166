#include "stand_in.h"

#include <map>
#include <mutex>
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

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, separator);)
        if (!part.empty()) parts.push_back(part);
    return parts;
}

} // namespace

const settings& configured() {
    static const settings read = [] {
        settings s;
        s.outputs = split(variable("QUENVAREL_WINMM_OUTPUTS", "Stand-in Synth"), ';');
        s.inputs = split(variable("QUENVAREL_WINMM_INPUTS", "Stand-in Keys"), ';');
        const std::string busy = variable("QUENVAREL_WINMM_BUSY", "0");
        if (busy != "forever") s.busy = std::chrono::milliseconds(std::stol(busy));
        s.input = split(variable("QUENVAREL_WINMM_INPUT", ""), ' ');
        return s;
    }();
    return read;
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
        bool meant = which == function || which == function + "#" + std::to_string(count);
        if (which.starts_with(function + "#") && which.ends_with('+'))
            meant = count >= std::stoul(which.substr(function.size() + 1));
        if (meant) return std::stoul(rule.substr(equals + 1));
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

} // namespace winmm_stand_in
