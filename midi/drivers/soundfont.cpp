#include "midi/drivers/soundfont.h"

#include "libutils/executable_path.h"
#include "midi/drivers/quiet.h"

#include <algorithm>
#include <fluidsynth.h>
#include <system_error>

namespace midi {

namespace {

namespace fs = std::filesystem;

// The SoundFonts of a directory, the preferred ones first.
std::vector<fs::path> soundfonts_in(const fs::path& directory) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator at(directory, error), end; !error && at != end; at.increment(error)) {
        const fs::path extension = at->path().extension();
        if (extension == ".sf2" || extension == ".sf3") found.push_back(at->path());
    }
    std::sort(found.begin(), found.end(), [](const fs::path& a, const fs::path& b) {
        const bool a_default = a.stem() == "default-GM", b_default = b.stem() == "default-GM";
        return a_default != b_default ? a_default : a < b;
    });
    return found;
}

} // namespace

std::string find_soundfont(const std::vector<fs::path>& directories) {
    quiet_sound_libraries();
    for (const fs::path& directory : directories)
        for (const fs::path& file : soundfonts_in(directory))
            if (fluid_is_soundfont(file.c_str())) return file.string();
    return {};
}

std::string find_soundfont() {
    std::vector<fs::path> directories;
    std::error_code error;
    const fs::path program = libutils::executable_path();
    if (!program.empty()) {
        directories.push_back(program.parent_path() / "soundfonts");
        directories.push_back(program.parent_path().parent_path() / "share/quenvarel/soundfonts");
    }
    for (const char* directory : {"/usr/share/sounds/sf2", "/usr/share/sounds/sf3", "/usr/share/soundfonts",
                                  "/usr/local/share/sounds/sf2", "/usr/local/share/soundfonts"})
        directories.emplace_back(directory);
    return find_soundfont(directories);
}

} // namespace midi
