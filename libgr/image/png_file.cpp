#include "libgr/image/png_file.h"

#include "libgr/image/escape.h"
#include "libgr/image/row_writer.h"
#include "libutils/report.h"
#include "libutils/saved_file.h"
#include "libutils/system_error.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <png.h>
#include <string_view>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

constexpr std::size_t signature_bytes = 4;

// Deflate codes at most 258 bytes with two bits: no more bytes than this come out of one.
constexpr std::uint64_t most_inflation = 1032;

struct color_type {
    int png;
    std::uint32_t format;
};
constexpr color_type color_types[] = {{PNG_COLOR_TYPE_GRAY, pixel_format::luminance},
                                      {PNG_COLOR_TYPE_RGB, pixel_format::rgb},
                                      {PNG_COLOR_TYPE_PALETTE, pixel_format::color_index},
                                      {PNG_COLOR_TYPE_GRAY_ALPHA, pixel_format::luminance_alpha},
                                      {PNG_COLOR_TYPE_RGB_ALPHA, pixel_format::rgba}};

struct bit_depth {
    int png;
    std::uint32_t bits;
};
constexpr bit_depth bit_depths[] = {{1, bits_class::bits_1},
                                    {2, bits_class::bits_2},
                                    {4, bits_class::bits_4},
                                    {8, bits_class::bits_8},
                                    {16, bits_class::bits_16}};

// Both directions' libpng objects, with the reason of a failure.
class coder {
public:
    explicit coder(bool reading) : reading_(reading) {
        png = reading ? png_create_read_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning)
                      : png_create_write_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning);
        if (png) info = png_create_info_struct(png);
    }
    ~coder() {
        if (reading_)
            png_destroy_read_struct(&png, &info, nullptr);
        else
            png_destroy_write_struct(&png, &info);
    }
    coder(const coder&) = delete;
    coder& operator=(const coder&) = delete;

    // False when libpng gave up, or could not even begin.
    template <class Work>
    bool run(const Work& work) {
        return png && info && way_out_.run(work);
    }
    std::string_view reason() const { return reason_.data(); }

    png_structp png = nullptr;
    png_infop info = nullptr;

private:
    [[noreturn]] static void on_error(png_structp png, png_const_charp message) {
        auto* self = static_cast<coder*>(png_get_error_ptr(png));
        std::strncpy(self->reason_.data(), message, self->reason_.size() - 1);
        self->way_out_.leave();
    }
    static void on_warning(png_structp, png_const_charp) {}

    escape way_out_;
    bool reading_;
    std::array<char, 128> reason_{"out of memory"};
};

struct source {
    const unsigned char* at;
    std::size_t left;
};

void read_bytes(png_structp png, png_bytep to, std::size_t count) {
    auto* from = static_cast<source*>(png_get_io_ptr(png));
    if (count > from->left) png_error(png, "file is truncated");
    std::memcpy(to, from->at, count);
    from->at += count;
    from->left -= count;
}

void write_bytes(png_structp png, png_bytep from, std::size_t count) {
    auto* file = static_cast<libutils::saved_file*>(png_get_io_ptr(png));
    if (!file->write({reinterpret_cast<const char*>(from), count})) png_error(png, "file write error");
}

void flush_bytes(png_structp) {}

// Chunks that say nothing about the samples are skipped: they could unpack to many times the file.
void skip_other_chunks(png_structp png) {
#ifdef PNG_HANDLE_AS_UNKNOWN_SUPPORTED
    static constexpr png_byte names[] = "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0pHYs\0"
                                        "sBIT\0sCAL\0sPLT\0sRGB\0tEXt\0tIME\0tRNS\0zTXt";
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, names, int(sizeof names / 5));
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
#endif
}

// Size and descriptor, as the file's header says.
void read_description(coder& reader, image2d& image) {
    png_uint_32 width = 0, height = 0;
    int depth = 0, type = 0;
    png_get_IHDR(reader.png, reader.info, &width, &height, &depth, &type, nullptr, nullptr, nullptr);
    image.width = width;
    image.height = height;
    image.descriptor.type = sample_type::unsigned_integer;
    for (const color_type& c : color_types)
        if (c.png == type) image.descriptor.format = c.format;
    for (const bit_depth& d : bit_depths)
        if (d.png == depth) image.descriptor.bits = d.bits;
}

void read_colors(coder& reader, image2d& image) {
    png_colorp colors = nullptr;
    int count = 0;
    png_get_PLTE(reader.png, reader.info, &colors, &count);
    if (!image.colors.allocate(std::uint64_t(count))) png_error(reader.png, "out of memory");
    for (int i = 0; i < count; ++i)
        image.colors.set(std::uint64_t(i), colors[i].red, colors[i].green, colors[i].blue);
}

// What the file says of its picture; the rows are still to come, so many times.
int read_header(coder& reader, image2d& image, std::uint64_t file_bytes) {
    png_structp png = reader.png;
    png_set_sig_bytes(png, signature_bytes);
    png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    skip_other_chunks(png);
    png_read_info(png, reader.info);
    read_description(reader, image);
    if (image.descriptor.format == pixel_format::color_index) read_colors(reader, image);
    if (image.descriptor.bits == bits_class::bits_16 && std::endian::native == std::endian::little)
        png_set_swap(png);
    const int passes = png_set_interlace_handling(png);
    png_read_update_info(png, reader.info);

    const std::uint64_t row_bytes = png_get_rowbytes(png, reader.info);
    if (row_bytes == 0 || image.height > file_bytes * most_inflation / row_bytes)
        png_error(png, "file is truncated");
    if (row_bytes > image.stride()) png_error(png, "out of memory");
    return passes;
}

void read_rows(coder& reader, image2d& image, int passes) {
    png_structp png = reader.png;
    if (!image.allocate()) png_error(png, "out of memory");
    // Too much data, or a wrong checksum behind it, is damage as well.
    png_set_benign_errors(png, 0);
    // A pixel beyond the palette is black. Some versions of the library would call it damage.
    png_set_check_for_invalid_index(png, 0);
    for (int pass = 0; pass < passes; ++pass)
        for (std::uint32_t y = image.height; y > 0; --y)
            png_read_row(png, image.row(y - 1), nullptr);
    png_read_end(png, nullptr);
}

void write_picture(coder& writer, const image2d& image, int type, int depth, const std::string& title) {
    png_structp png = writer.png;
    png_set_IHDR(png, writer.info, image.width, image.height, depth, type, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const auto bits = static_cast<png_byte>(depth);
    const png_color_8 significant = {bits, bits, bits, bits, bits};
    png_set_sBIT(png, writer.info, &significant);
    if (!title.empty()) {
        png_text text{};
        char key[] = "Title";
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = key;
        text.text = const_cast<char*>(title.c_str());
        text.text_length = title.size();
        png_set_text(png, writer.info, &text, 1);
    }
    png_write_info(png, writer.info);
    if (depth == 16 && std::endian::native == std::endian::little) png_set_swap(png);
    for (std::uint32_t y = image.height; y > 0; --y)
        png_write_row(png, image.row(y - 1));
    png_write_end(png, writer.info);
}

bool library_fits() {
    return check_png_version(PNG_LIBPNG_VER_STRING, png_get_libpng_ver(nullptr));
}

} // namespace

bool check_png_version(const char* header, const char* source) {
    if (std::strcmp(header, source) == 0) return true;
    return report("libpng version different.\n  header: ", header, "\n  source: ", source);
}

bool load_png(image2d& image, const std::string& name, const read_options& options) {
    if (!library_fits()) return false;
    pixel_bytes bytes;
    libutils::mapping_failure why;
    if (!bytes.try_allocate(0, name.c_str(), 0, 0, &why) && why.at == libutils::mapping_failure::step::open) {
        std::string reason = libutils::system_error::text(why.code);
        reason.erase(reason.find_last_not_of("\r\n") + 1);
        return report(name, ": file open error, ", reason);
    }
    bytes.set_view(0);
    if (bytes.size() < signature_bytes || png_sig_cmp(bytes.data(), 0, signature_bytes) != 0)
        return report(name, ": not a png file.");

    coder reader(true);
    image2d made;
    source from{bytes.data() + signature_bytes, bytes.size() - signature_bytes};
    int passes = 0;
    const auto failed = [&] { return report(name, ": png read error, ", reader.reason(), "."); };
    if (!reader.run([&] {
            png_set_read_fn(reader.png, &from, read_bytes);
            passes = read_header(reader, made, bytes.size());
        }))
        return failed();
    if (!is_allowed(made.stride() * made.height, options, name)) return false;
    if (!reader.run([&] { read_rows(reader, made, passes); })) return failed();
    if (!bytes.is_whole()) return report(name, ": png read error, file is truncated.");
    image = std::move(made);
    return true;
}

bool save_png(const image2d& image, const std::string& name, const std::string& title) {
    if (!library_fits()) return false;
    const auto [format, type, bits] = image.descriptor;
    const auto* color = std::find_if(std::begin(color_types), std::end(color_types),
                                     [f = format](const color_type& c) { return c.format == f; });
    const auto* depth = std::find_if(std::begin(bit_depths), std::end(bit_depths),
                                     [b = bits](const bit_depth& d) { return d.bits == b; });
    if (color == std::end(color_types) || depth == std::end(bit_depths) || type == sample_type::floating ||
        !rows_can_be_written(image))
        return report("convert(to png): not supported format.");

    libutils::saved_file file(name);
    if (!file.is_open()) return report(name, ": file open error.");
    coder writer(false);
    if (!writer.run([&] {
            png_set_write_fn(writer.png, &file, write_bytes, flush_bytes);
            write_picture(writer, image, color->png, depth->png, title);
        }))
        return report("FAIL: ", name, ": ", writer.reason(), ".");
    return file.commit() || report(name, ": file write error.");
}

} // namespace libgr
