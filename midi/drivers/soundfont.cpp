#include "midi/drivers/soundfont.h"

#include "libutils/executable_path.h"

#include <algorithm>
#include <bitset>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>

namespace midi {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t unpacked = 6;                             // times as large as it is in the file
constexpr std::uint64_t small = 16'000'000, huge = 1'000'000'000; // bytes of samples
constexpr int most_parts = 100; // of a list; a damaged file may seem to have millions

struct {
    fs::path preferred, directory, loaded;
} choice;

// Where the contents of a part of a RIFF file lie.
struct chunk {
    std::uint64_t begin, end;
};

std::uint32_t little_endian(const char* bytes, std::size_t count) {
    std::uint32_t value = 0;
    while (count-- > 0)
        value = value << 8 | static_cast<unsigned char>(bytes[count]);
    return value;
}

class riff_file {
public:
    explicit riff_file(const fs::path& file) : stream_(file, std::ios::binary) {
        std::error_code error;
        size_ = fs::is_regular_file(file, error) ? fs::file_size(file, error) : 0;
        if (error) size_ = 0;
    }
    bool read(std::uint64_t at, void* bytes, std::size_t count) {
        stream_.seekg(static_cast<std::streamoff>(at));
        stream_.read(static_cast<char*>(bytes), static_cast<std::streamsize>(count));
        return bool(stream_);
    }
    chunk whole() const { return {0, size_}; }
    // The first chunk of that kind within another. A list also has a kind of its own, after which its
    // contents begin.
    std::optional<chunk> find(const chunk& within, std::string_view kind, std::string_view list_kind = {}) {
        constexpr std::size_t word = 4;
        char head[3 * word] = {};
        std::uint64_t at = within.begin;
        for (int seen = 0; seen < most_parts && at + 2 * word <= within.end; ++seen) {
            if (!read(at, head, 2 * word + list_kind.size())) return std::nullopt;
            const std::uint64_t begin = at + 2 * word, end = begin + little_endian(head + word, word);
            if (end > within.end) return std::nullopt;
            if (kind == std::string_view(head, word) &&
                list_kind == std::string_view(head + 2 * word, list_kind.size()))
                return chunk{begin + list_kind.size(), end};
            at = end + end % 2; // the next one begins at an even place
        }
        return std::nullopt;
    }

private:
    std::ifstream stream_;
    std::uint64_t size_;
};

bool has_general_midi(riff_file& file, const chunk& presets) {
    constexpr std::size_t record = 38;
    std::bitset<128> programs;
    bool has_drums = false;
    char bytes[record];
    // The last record only marks the end.
    for (std::uint64_t at = presets.begin; at + 2 * record <= presets.end; at += record) {
        if (!file.read(at, bytes, record)) return false;
        const std::uint32_t program = little_endian(bytes + 20, 2), bank = little_endian(bytes + 22, 2);
        if (bank == 0 && program < programs.size()) programs.set(program);
        has_drums |= bank == 128;
    }
    return programs.all() && has_drums;
}

// In the order of their names.
std::vector<fs::path> soundfonts_in(const fs::path& directory) {
    std::vector<fs::path> found;
    std::error_code error;
    if (directory.empty()) return found;
    for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error)) {
        const fs::path extension = at->path().extension();
        if (extension == ".sf2" || extension == ".sf3") found.push_back(at->path());
    }
    std::ranges::sort(found);
    return found;
}

// Lower ranks are tried first.
auto rank(const soundfont_facts& facts) {
    const int kind = !facts.is_general_midi || facts.samples > huge ? 3
                     : facts.samples < small                        ? 2
                     : facts.is_compressed                          ? 1
                                                                    : 0;
    return std::tuple(kind, ~facts.samples);
}

} // namespace

std::optional<soundfont_facts> read_soundfont_facts(const fs::path& path) {
    riff_file file(path);
    const auto font = file.find(file.whole(), "RIFF", "sfbk");
    if (!font) return std::nullopt;
    const auto about = file.find(*font, "LIST", "INFO"), sound = file.find(*font, "LIST", "sdta"),
               structure = file.find(*font, "LIST", "pdta");
    if (!about || !sound || !structure) return std::nullopt;
    const auto version = file.find(*about, "ifil"), samples = file.find(*sound, "smpl"),
               presets = file.find(*structure, "phdr");
    char major[2];
    if (!version || !samples || !presets || !file.read(version->begin, major, 2)) return std::nullopt;
    const bool compressed = little_endian(major, 2) >= 3;
    return soundfont_facts{has_general_midi(file, *presets), compressed,
                           (samples->end - samples->begin) * (compressed ? unpacked : 1)};
}

bool fits_into_memory(const soundfont_facts& facts) {
    std::ifstream file("/proc/meminfo");
    for (std::string name; file >> name;) {
        std::uint64_t kibibytes = 0;
        if (name == "MemAvailable:" && file >> kibibytes) return facts.samples / 1024 < kibibytes / 2;
    }
    return true;
}

std::vector<fs::path> ranked_soundfonts(const std::vector<fs::path>& directories) {
    struct candidate {
        fs::path file;
        soundfont_facts facts;
    };
    std::vector<candidate> found;
    for (const fs::path& directory : directories)
        for (const fs::path& each : soundfonts_in(directory)) {
            std::error_code error;
            const fs::path file = fs::canonical(each, error);
            if (error || std::ranges::find(found, file, &candidate::file) != found.end()) continue;
            if (const auto facts = read_soundfont_facts(file)) found.push_back({file, *facts});
        }
    std::ranges::stable_sort(found, {}, [](const candidate& each) { return rank(each.facts); });
    std::vector<fs::path> files;
    for (candidate& each : found)
        files.push_back(std::move(each.file));
    return files;
}

std::vector<fs::path> soundfonts_to_try() {
    std::vector<fs::path> all;
    if (!choice.preferred.empty()) all.push_back(choice.preferred);
    for (const fs::path& directory : {choice.directory, fs::path(libutils::executable_path()).parent_path()})
        std::ranges::move(soundfonts_in(directory), std::back_inserter(all));
    std::ranges::move(ranked_soundfonts({"/usr/share/sounds/sf2", "/usr/share/sounds/sf3",
                                         "/usr/share/soundfonts", "/usr/local/share/sounds/sf2",
                                         "/usr/local/share/sounds/sf3", "/usr/local/share/soundfonts"}),
                      std::back_inserter(all));
    return all;
}

void announce_soundfont(const fs::path& file) {
    choice.loaded = file;
    std::cout << "SoundFont: " + file.string() + '\n' << std::flush;
}

bool lacks_soundfont() {
    return soundfonts_to_try().empty();
}

bool prefer_soundfont(const std::string& file) {
    choice.preferred = file;
    return true;
}

void add_soundfont_directory(const std::string& directory) {
    choice.directory = directory;
}

std::string soundfont_name() {
    return choice.loaded.stem().string();
}

} // namespace midi
