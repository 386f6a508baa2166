// BMP files of any bytes.

#include "libgr/image/bmp.h"

#include "fuzz/picture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string name = fuzz::input_file("input.bmp", data, size);
    fuzz::load_and_save(name, fuzz::files().file("copy.bmp"), libgr::load_bmp, libgr::save_bmp);
    fuzz::load_as_texture(name);
    return 0;
}
