#pragma once
// Picture files of any bytes, for the formats that are saved as they were loaded.

#include "fuzz/target.h"
#include "libgr/image/autoformat.h"
#include "libgr/image/image.h"

#include <cstring>

namespace fuzz {

// Whether both have the same size, descriptor and samples. Bits behind the last pixel of a row do not count.
inline bool same_picture(const libgr::image2d& a, const libgr::image2d& b) {
    if (a.width != b.width || a.height != b.height || !(a.descriptor == b.descriptor)) return false;
    const std::uint64_t bits = std::uint64_t(a.width) * bits_per_pixel(a.descriptor);
    for (std::uint32_t y = 0; y < a.height; ++y) {
        if (std::memcmp(a.row(y), b.row(y), bits / 8) != 0) return false;
        if (const unsigned left = bits % 8; left && (a.row(y)[bits / 8] ^ b.row(y)[bits / 8]) >> (8 - left))
            return false;
    }
    return true;
}

// Loads through `load`, and again after saving through `save`. What is refused is refused in one line and
// leaves the picture that was there; what the format can be saved in comes back the same.
template <class Load, class Save>
void load_and_save(const std::string& name, const std::string& copy, Load load, Save save) {
    libgr::image2d image;
    image.width = 4711;
    {
        const messages said;
        const bool loaded = load(image, name);
        demand(said.lines() == !loaded, "a file is loaded without a word, or refused in one line");
        if (!loaded) return demand(image.width == 4711, "a picture that fails to load changes nothing");
    }
    demand(image.width > 0 && image.height > 0 && image.holds_pixels(), "a loaded picture is all there");
    const messages said;
    const bool saved = save(image, copy);
    demand(said.lines() == !saved, "a picture is saved without a word, or refused in one line");
    if (!saved) return;
    libgr::image2d again;
    demand(load(again, copy), "what was saved can be loaded");
    demand(same_picture(image, again), "what was saved is what is loaded");
}

// The same by the extension of the name; such a picture has no colour numbers, and can be saved as PNG.
inline void load_as_texture(const std::string& name) {
    const messages said;
    libgr::image2d image;
    if (!libgr::autoloadformat(image, name)) return;
    demand(image.descriptor.format != libgr::pixel_format::color_index, "colour numbers are resolved");
    demand(image.holds_pixels(), "a texture's picture is all there");
    const std::uint32_t width = image.width;
    image = {}; // on Windows a picture that shows its file has it alone
    libgr::image2d meant;
    const bool loaded = libgr::load_as(libgr::format_of(name), meant, name, {.as_meant = true});
    demand(loaded, "a picture can be read as it is meant");
    demand(meant.holds_pixels() && meant.width == width, "it is the same picture");
}

} // namespace fuzz
