// pmt3d image ...: looks at pictures and converts them.

#include "libgr/image/convert.h"
#include "libgr/image/jpeg_file.h"
#include "libgr/image/processing.h"
#include "libutils/report.h"
#include "picture_file.h"
#include "progress_bar.h"
#include "subcommand.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <string>
#include <vector>
#include <zlib.h>

namespace tool {

namespace {

using libgr::file_format;
using libgr::image2d;
using libgr::read_options;
using libutils::report;
namespace pixel_format = libgr::pixel_format;

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

int info(arguments words, const read_options& options) {
    image2d image;
    unsigned long crc = 0;
    {
        const progress_bar bar("reading", words[0]);
        if (!libgr::load_as(format_of(words[0]), image, words[0], options)) return failure;
        if (!checksum(image, crc)) return exit_code(report(words[0], ": picture has no colours."));
    }
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08lx", crc);
    std::cout << "size: " << image.width << 'x' << image.height << "\nformat: " << image.descriptor.format
              << "\ntype: " << image.descriptor.type << "\nbits: " << image.descriptor.bits
              << "\ncrc: " << digits << '\n';
    return success;
}

bool load_jpeg(libgr::jpeg_file& file, const char* name, const read_options& options) {
    file.options = options;
    return file.load(name);
}

// From JPEG to JPEG the notes beside the picture go with it.
int recode(const char* from, const char* to, const read_options& options) {
    libgr::jpeg_file file;
    image2d image;
    return exit_code(load_jpeg(file, from, options) && libgr::decode_jpeg(image, file) &&
                     libgr::encode_jpeg(file, image, libgr::autosave_jpeg_quality, true) && file.save(to));
}

int convert(arguments words, const read_options& options) {
    const auto is_jpeg = [](const char* name) { return format_of(name) == file_format::jpeg; };
    if (is_jpeg(words[0]) && is_jpeg(words[1])) return recode(words[0], words[1], options);
    image2d image;
    return exit_code(load_picture(image, words[0], options) && save_picture(image, words[1]));
}

// Of the greys that a picture has or gets, whatever the order of its channels; alpha does not count.
bool grey(image2d& made, const image2d& source) {
    const std::uint32_t format = source.descriptor.format;
    const bool is_grey = format == pixel_format::luminance || format == pixel_format::luminance_alpha;
    if (is_grey) return libgr::convert_format(made, source, pixel_format::luminance);
    return libgr::convert_format(made, source, pixel_format::rgb) && libgr::rgb2grey(made, made);
}

bool normals(image2d& made, const image2d& source) {
    if (source.descriptor.format != pixel_format::luminance_alpha) return libgr::normalmap(made, source);
    return grey(made, source) && libgr::normalmap(made, made);
}

template <bool (*Operation)(image2d&, const image2d&)>
int process(arguments words, const read_options& options) {
    image2d image;
    if (!load_picture(image, words[0], options)) return failure;
    const bool narrow = libgr::bits_per_component(image.descriptor.bits) < 8;
    return exit_code((!narrow || libgr::convert_bits(image, image, libgr::bits_class::bits_8)) &&
                     Operation(image, image) && save_picture(image, words[1]));
}

int turn(arguments words, const read_options& options);

struct action {
    std::string_view name;
    std::size_t words; // how many follow
    int (*run)(arguments, const read_options&);
};
constexpr action actions[] = {{"info", 1, info},
                              {"convert", 2, convert},
                              {"grey", 2, process<grey>},
                              {"normalmap", 2, process<normals>},
                              {"scaledown", 2, process<libgr::scaledown>},
                              {"turn", 3, turn}};

// A whole number of at most nine digits.
bool to_number(std::string_view word, int& number) {
    const bool negative = word.starts_with('-');
    if (word.size() == negative || word.size() > 9 ||
        word.find_first_not_of("0123456789", negative) != word.npos)
        return false;
    number = std::stoi(std::string(word));
    return true;
}

int turn(arguments words, const read_options& options) {
    int turns = 0;
    if (!to_number(words[0], turns)) return usage_error(image, "N is the number of quarter turns.");
    libgr::jpeg_file file;
    return exit_code(load_jpeg(file, words[1], options) && libgr::turn_jpeg(file, turns) &&
                     file.save(words[2]));
}

constexpr option table[] = {
    {"--memory", "N", "reading a picture may take N MiB of memory (1024)"},
};

int run(const command_line& line) {
    const arguments words = line.operands;
    read_options options;
    if (const char* const text = line.value("--memory")) {
        const std::optional<std::uint64_t> mib = whole_number(text);
        if (!mib || *mib == 0 || *mib > std::numeric_limits<std::uint64_t>::max() >> 20)
            return usage_error(image, "--memory needs a number of MiB.");
        options.most_bytes = *mib << 20;
    }
    std::string known;
    for (const action& a : actions) {
        known.append(known.empty() ? "" : ", ").append(a.name);
        if (words.empty() || words[0] != a.name) continue;
        if (words.size() != a.words + 1) return usage_error(image, "wrong number of arguments.");
        std::optional<progress_bar> bar;
        if (a.run != info) bar.emplace("writing", words.back()); // which has one of its own
        return a.run(words.subspan(1), options);
    }
    const std::string word =
        words.empty() ? "what to do is missing" : "there is no \"" + std::string(words[0]) + '"';
    return usage_error(image, word + "; the words are " + known + '.');
}

} // namespace

const subcommand image = {
    "image",
    "info FILE | convert IN OUT | grey IN OUT | normalmap IN OUT | scaledown IN OUT | "
    "turn N IN.jpg OUT.jpg",
    "look at pictures and convert them",
    table,
    R"(The extension of a name tells the format: .jpg or .jpeg, .bmp, .png or .tga, in any case.
  info       size, format, sample type and width class, and the CRC-32 of the 8-bit RGB pixels
  convert    writes the picture in another format, unless that would lose something of it
  grey       turns an 8-bit picture to grey; alpha does not count
  normalmap  makes the normal map of an 8-bit grey picture of heights
  scaledown  halves width and height of an 8-bit picture
  turn       turns a JPEG picture clockwise by N quarter turns (0 to 3) without loss

Example: pmt3d image convert wood.bmp wood.png
)",
    run,
};

} // namespace tool
