// Makes the models that the instrument shows: make_keys DIRECTORY [FONT]. The font is that of the name on the
// case.

#include "models/keyboard_files.h"
#include "models/name_picture.h"

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: " << (argc > 0 ? argv[0] : "make_keys") << " DIRECTORY [FONT]" << std::endl;
        return 2;
    }
    std::optional<models::picture> name;
    if (argc == 3 && !(name = models::make_name(argv[2]))) return 1;
    return models::write_keyboard(argv[1], name) ? 0 : 1;
}
