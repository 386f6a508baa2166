// PNG files of any bytes.

#include "fuzz/picture.h"
#include "libgr/image/png_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.png", data, size);
    fuzz::load_and_save(
        name, fuzz::files().file("copy.png"),
        [](libgr::image2d& image, const std::string& file) { return libgr::load_png(image, file); },
        [](const libgr::image2d& image, const std::string& copy) { return libgr::save_png(image, copy); });
    fuzz::load_as_texture(name);
    return 0;
}
