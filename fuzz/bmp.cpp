// BMP files of any bytes.

#include "libgr/image/bmp.h"

#include "fuzz/picture.h"

using libgr::image2d;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.bmp", data, size);
    fuzz::load_and_save(
        name, fuzz::files().file("copy.bmp"),
        [](image2d& image, const std::string& file) { return libgr::load_bmp(image, file); },
        [](const image2d& image, const std::string& file) { return libgr::save_bmp(image, file); });
    fuzz::load_as_texture(name);
    return 0;
}
