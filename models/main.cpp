// Makes the models that the instrument shows: make_keys piano|harpsichord DIRECTORY [FONT]. The font is that
// of the name on the case.

#include "models/keyboard_files.h"
#include "models/name_picture.h"

#include <cstdio>
#include <iostream>
#include <string_view>

namespace {

// The font that the build found, where it is still there.
const char* usual_font() {
    std::FILE* file = std::fopen(QUENVAREL_NAME_FONT, "rb");
    if (!file) {
        std::cerr << QUENVAREL_NAME_FONT ": not there; the case is without a name." << std::endl;
        return nullptr;
    }
    std::fclose(file);
    return QUENVAREL_NAME_FONT;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view which = argc > 1 ? argv[1] : "";
    const bool asked = which == "--help" || which == "-h";
    if (asked || (argc != 3 && argc != 4) || (which != "piano" && which != "harpsichord")) {
        (asked ? std::cout : std::cerr) << "usage: " << (argc > 0 ? argv[0] : "make_keys")
                                        << " piano|harpsichord DIRECTORY [FONT]" << std::endl;
        return asked ? 0 : 2;
    }
    const char* const font = argc == 4 ? argv[3] : usual_font();
    std::optional<models::picture> name;
    if (font && !(name = models::make_name(font))) return 1;
    const auto made = which == "piano" ? models::instrument::piano : models::instrument::harpsichord;
    return models::write_keyboard(argv[2], name, made) ? 0 : 1;
}
