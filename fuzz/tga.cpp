// TGA files of any bytes.

#include "libgr/image/tga.h"

#include "fuzz/picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.tga", data, size);
    fuzz::load_and_save(
        name, fuzz::files().file("copy.tga"),
        [](libgr::image2d& image, const std::string& file) { return libgr::load_tga(image, file); },
        libgr::save_tga);
    fuzz::load_as_texture(name);
    return 0;
}
