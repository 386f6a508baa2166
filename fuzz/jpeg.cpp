// JPEG files of any bytes: decoded, coded again, and turned.

#include "fuzz/picture.h"
#include "libgr/image/jpeg_file.h"

using fuzz::demand;
using libgr::image2d;
using libgr::jpeg_file;

namespace {

constexpr std::uint32_t most_pixels = 1 << 16;

// False when it cannot be decoded; `damaged` tells of a picture that the decoder had to guess parts of.
bool decode(image2d& image, jpeg_file& file, bool& damaged) {
    const fuzz::messages said;
    const bool decoded = libgr::decode_jpeg(image, file);
    damaged = decoded && said.lines() == 1;
    demand(said.lines() == (!decoded || damaged), "a file is decoded, or there is one line");
    return decoded;
}

void code_again(const image2d& image, jpeg_file file) {
    demand(libgr::encode_jpeg(file, image, 75, true), "a decoded picture can be coded");
    const auto markers = file.markers.size();
    image2d again;
    bool damaged = false;
    demand(decode(again, file, damaged) && !damaged, "a coded picture can be decoded");
    demand(again.width == image.width && again.height == image.height && again.descriptor == image.descriptor,
           "it is of the same size and kind");
    demand(file.markers.size() >= std::min<std::size_t>(markers, 1), "markers are kept");
}

// Four quarter turns, which are none: the coefficients are the same, and so is what they decode to. Only
// where the file had coefficients that no picture of 8 bits has, as arithmetic coding allows, a turned file
// may not hold them: that is seen when it is decoded.
void turn_around(const image2d& image, jpeg_file file) {
    const auto before = file.bytes;
    std::uint32_t width = image.width, height = image.height;
    for (int turns = 0; turns < 4; ++turns) {
        const fuzz::messages said;
        const bool turned = libgr::turn_jpeg(file, 1);
        demand(said.lines() == !turned, "a file is turned without a word, or refused in one line");
        if (!turned) {
            demand(turns > 0 || file.bytes.data() == before.data(), "a file that is not turned stays");
            return;
        }
        std::swap(width, height);
        image2d made;
        bool damaged = false;
        demand(decode(made, file, damaged), "a turned file can be decoded");
        demand(made.width == width && made.height == height, "a turn swaps width and height");
        if (damaged) return;
        if (turns == 3) demand(fuzz::same_picture(made, image), "four turns are none");
    }
}

// Whether a frame header, anywhere in the file, asks for more pixels than there is time for; large ones are
// legal.
bool takes_too_long(const std::uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i + 9 <= size; ++i) {
        if (data[i] != 0xFF || data[i + 1] < 0xC0 || data[i + 1] > 0xCF) continue;
        const std::uint32_t height = data[i + 5] << 8 | data[i + 6], width = data[i + 7] << 8 | data[i + 8];
        if (height * width > most_pixels) return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (takes_too_long(data, size)) return 0;
    const std::string name = fuzz::input_file("input.jpg", data, size);
    jpeg_file file;
    {
        const fuzz::messages said;
        const bool loaded = file.load(name);
        demand(said.lines() == !loaded && loaded == (size > 0), "all but empty files can be loaded");
        if (!loaded) return 0;
    }
    image2d image;
    bool damaged = false;
    if (decode(image, file, damaged)) {
        demand(image.width > 0 && image.height > 0 && image.holds_pixels(), "a decoded picture is all there");
        code_again(image, file);
        if (!damaged) {
            turn_around(image, file);
            return 0;
        }
    }
    const fuzz::messages said;
    const bool turned = libgr::turn_jpeg(file, 1);
    demand(said.lines() == !turned, "a damaged file is turned without a word, or refused in one line");
    return 0;
}
