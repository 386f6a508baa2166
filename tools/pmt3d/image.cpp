// pmt3d image ...: looks at pictures and converts them.

#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "libgr/image/jpeg_file.h"
#include "libgr/image/processing.h"
#include "libutils/error_report.h"
#include "picture_file.h"
#include "subcommand.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>
#include <zlib.h>

namespace tool {

namespace {

using libgr::file_format;
using libgr::image2d;

int exit_code(bool good) {
    return good ? success : failure;
}

// The CRC-32 of the picture as 8-bit RGB, the top row first.
bool checksum(const image2d& image, unsigned long& crc) {
    std::vector<unsigned char> row(std::size_t(image.width) * 3);
    crc = crc32(0, nullptr, 0);
    for (std::uint32_t y = image.height; y > 0; --y) {
        if (!libgr::read_rgb_row(row.data(), image, y - 1)) return false;
        crc = crc32_z(crc, row.data(), row.size());
    }
    return true;
}

// The library knows JPEG files by three letters only; whoever asks what a file is gets an answer with four,
// too.
bool has_four_letters(std::string_view name) {
    constexpr std::string_view extension = ".jpeg";
    return name.size() >= extension.size() &&
           std::equal(
               extension.begin(), extension.end(), name.end() - extension.size(),
               [](char wanted, char c) { return wanted == std::tolower(static_cast<unsigned char>(c)); });
}

bool load_any(image2d& image, const std::string& name) {
    if (!has_four_letters(name)) return libgr::autoloadformat(image, name);
    libgr::jpeg_file file;
    return file.load(name) && libgr::decode_jpeg(image, file);
}

int info(arguments words) {
    image2d image;
    if (!load_any(image, words[0])) return failure;
    unsigned long crc = 0;
    if (!checksum(image, crc)) {
        libutils::error_report();
        std::cerr << words[0] << ": picture has no colours." << std::endl;
        return failure;
    }
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08lx", crc);
    std::cout << "size: " << image.width << 'x' << image.height << "\nformat: " << image.descriptor.format
              << "\ntype: " << image.descriptor.type << "\nbits: " << image.descriptor.bits
              << "\ncrc: " << digits << '\n';
    return success;
}

// From JPEG to JPEG the notes beside the picture go with it.
int recode(const char* from, const char* to) {
    libgr::jpeg_file file;
    image2d image;
    return exit_code(file.load(from) && libgr::decode_jpeg(image, file) &&
                     libgr::encode_jpeg(file, image, libgr::autosave_jpeg_quality, true) && file.save(to));
}

int convert(arguments words) {
    const auto is_jpeg = [](const char* name) { return libgr::format_of(name) == file_format::jpeg; };
    if (is_jpeg(words[0]) && is_jpeg(words[1])) return recode(words[0], words[1]);
    image2d image;
    return exit_code(libgr::autoloadformat(image, words[0]) && save_picture(image, words[1]));
}

template <bool (*Operation)(image2d&, const image2d&)>
int process(arguments words) {
    image2d image;
    return exit_code(libgr::autoloadformat(image, words[0]) && Operation(image, image) &&
                     save_picture(image, words[1]));
}

int run(arguments words);
int turn(arguments words);

struct action {
    std::string_view name;
    std::size_t words; // how many follow
    int (*run)(arguments);
};
constexpr action actions[] = {{"info", 1, info},
                              {"convert", 2, convert},
                              {"grey", 2, process<libgr::rgb2grey>},
                              {"normalmap", 2, process<libgr::normalmap>},
                              {"scaledown", 2, process<libgr::scaledown>},
                              {"turn", 3, turn}};

int turn(arguments words) {
    const std::string count = words[0];
    const bool negative = count[0] == '-';
    if (count.size() == negative || count.size() > 9 ||
        count.find_first_not_of("0123456789", negative) != count.npos)
        return usage_error(image, "N is the number of quarter turns.");
    libgr::jpeg_file file;
    return exit_code(file.load(words[1]) && libgr::turn_jpeg(file, std::stoi(count)) && file.save(words[2]));
}

int run(arguments words) {
    if (words.empty()) return usage_error(image, "what to do is missing.");
    for (const action& a : actions) {
        if (words[0] != a.name) continue;
        if (words.size() != a.words + 1) return usage_error(image, "wrong number of arguments.");
        return a.run(words.subspan(1));
    }
    return usage_error(image, "there is no image \"" + std::string(words[0]) + "\".");
}

} // namespace

const subcommand image = {
    "image",
    "info FILE | convert IN OUT | grey IN OUT | normalmap IN OUT | scaledown IN OUT | turn N IN.jpg OUT.jpg",
    "look at pictures and convert them",
    "The extension of a name tells the format: .jpg, .bmp, .png or .tga.\n"
    "  info       size, format, sample type and width class, and the CRC-32 of the 8-bit RGB pixels\n"
    "  convert    writes the picture in another format, unless that would lose something of it\n"
    "  grey       turns an 8-bit RGB picture to grey\n"
    "  normalmap  makes the normal map of an 8-bit grey picture of heights\n"
    "  scaledown  halves width and height of an 8-bit picture\n"
    "  turn       turns a JPEG picture clockwise by N quarter turns (0 to 3) without loss\n"
    "Example: pmt3d image convert wood.bmp wood.png\n",
    run,
};

} // namespace tool
