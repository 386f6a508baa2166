// Makes the models that the instrument shows: make_keys DIRECTORY

#include "models/keyboard_files.h"

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << (argc > 0 ? argv[0] : "make_keys") << " DIRECTORY" << std::endl;
        return 2;
    }
    return models::write_keyboard(argv[1]) ? 0 : 1;
}
