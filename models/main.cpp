// Makes the models that the instrument shows: make_keys piano|harpsichord DIRECTORY [FONT]. The font is that
// of the name on the case.

#include "models/keyboard_files.h"
#include "models/name_picture.h"

#include <iostream>
#include <string_view>

int main(int argc, char** argv) {
    const std::string_view which = argc > 1 ? argv[1] : "";
    if ((argc != 3 && argc != 4) || (which != "piano" && which != "harpsichord")) {
        std::cerr << "usage: " << (argc > 0 ? argv[0] : "make_keys") << " piano|harpsichord DIRECTORY [FONT]"
                  << std::endl;
        return 2;
    }
    std::optional<models::picture> name;
    if (argc == 4 && !(name = models::make_name(argv[3]))) return 1;
    const auto made = which == "piano" ? models::instrument::piano : models::instrument::harpsichord;
    return models::write_keyboard(argv[2], name, made) ? 0 : 1;
}
