#include "libgr/image/jpeg_file.h"

#include "libgr/image/input_file.h"
#include "libgr/image/jpeg_coder.h"
#include "libgr/image/row_writer.h"
#include "libutils/report.h"
#include "libutils/saved_file.h"

#include <algorithm>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

// The colour spaces that a picture can have in memory.
struct color_space {
    J_COLOR_SPACE jpeg;
    int components;
    pixel_descriptor descriptor;
};
constexpr color_space color_spaces[] = {
    {JCS_RGB, 3, kinds::rgb8}, {JCS_YCbCr, 3, kinds::ycbcr8}, {JCS_GRAYSCALE, 1, kinds::grey8}};

// The density of the pixels, the only thing in a JFIF marker that re-encoding would lose.
void keep_density(jpeg_compress_struct& info, const jpeg_markers& markers) {
    for (const jpeg_marker& m : markers) {
        if (!m.is_jfif() || m.data.size() < 12) continue;
        info.density_unit = m.data[7];
        info.X_density = static_cast<UINT16>(m.data[8] << 8 | m.data[9]);
        info.Y_density = static_cast<UINT16>(m.data[10] << 8 | m.data[11]);
        return;
    }
}

} // namespace

bool jpeg_file::load(const std::string& file_name) {
    name = file_name;
    markers.clear();
    return map_file(bytes, file_name);
}

bool jpeg_file::save(const std::string& file_name) const {
    libutils::saved_file file(file_name);
    if (!file.is_open()) return report(file_name, ": file open error.");
    file.write({reinterpret_cast<const char*>(bytes.data()), std::size_t(bytes.size())});
    return file.commit() || report(file_name, ": file write error.");
}

bool decode_jpeg(image2d& image, jpeg_file& file, bool keep_ycbcr) {
    jpeg_reader reader(file.bytes);
    jpeg_decompress_struct& info = reader.info;
    image2d made;
    bool several_scans = false, too_large = false;
    long warnings_in_rows = 0;
    const bool decoded = reader.run([&] {
        reader.read_header();
        several_scans = jpeg_has_multiple_scans(&info) != FALSE;
        if (keep_ycbcr && info.jpeg_color_space == JCS_YCbCr) info.out_color_space = JCS_YCbCr;
        const auto* found =
            std::find_if(std::begin(color_spaces), std::end(color_spaces), [&](const color_space& c) {
                return c.jpeg == info.out_color_space && c.components == info.num_components;
            });
        if (found == std::end(color_spaces)) reader.errors.leave();
        made.descriptor = found->descriptor;
        made.width = info.image_width;
        made.height = info.image_height;
        const std::uint64_t coefficients = several_scans ? reader.blocks() * sizeof(JBLOCK) : 0;
        too_large = !is_allowed(made.stride() * made.height + coefficients, file.options, file.name);
        if (too_large || !made.allocate()) reader.errors.leave();
        jpeg_start_decompress(&info);
        while (info.output_scanline < info.output_height) {
            JSAMPROW row = made.row(info.output_height - 1 - info.output_scanline);
            jpeg_read_scanlines(&info, &row, 1);
        }
        warnings_in_rows = reader.errors.num_warnings;
        // To the end of the file, as finishing does, but that would forget the markers.
        while (!jpeg_input_complete(&info))
            jpeg_consume_input(&info);
    });
    if (too_large) return false;
    // A file that lacks no more than the marker of its end is whole; but only with a single Huffman-coded
    // scan is that seen for sure.
    const bool cut_off = reader.ran_out() && (several_scans || info.arith_code || reader.errors.data_ended);
    const bool damaged_end = reader.errors.num_warnings > warnings_in_rows;
    if (!decoded || cut_off || damaged_end || !reader.take_markers(file.markers) || !file.bytes.is_whole())
        return report(file.name, ": jpeg decompress fail, stop.");
    if (reader.errors.num_warnings > 0) report(file.name, ": jpeg decompress fail, but continue.");
    image = std::move(made);
    return true;
}

bool encode_jpeg(jpeg_file& file, const image2d& image, int quality, bool baseline) {
    const auto* space = std::find_if(std::begin(color_spaces), std::end(color_spaces),
                                     [&](const color_space& c) { return image.descriptor == c.descriptor; });
    if (space == std::end(color_spaces) || !rows_can_be_written(image))
        return report("convert(to jpeg): not supported format.");
    jpeg_writer writer;
    jpeg_compress_struct& info = writer.info;
    if (!writer.run([&] {
            info.image_width = image.width;
            info.image_height = image.height;
            info.input_components = space->components;
            info.in_color_space = space->jpeg;
            jpeg_set_defaults(&info);
            jpeg_set_quality(&info, quality, baseline ? TRUE : FALSE);
            keep_density(info, file.markers);
            jpeg_start_compress(&info, TRUE);
            writer.write_markers(file.markers, jpeg_writer::colors::coded_anew);
            while (info.next_scanline < info.image_height) {
                JSAMPROW row = const_cast<JSAMPROW>(image.row(info.image_height - 1 - info.next_scanline));
                jpeg_write_scanlines(&info, &row, 1);
            }
            jpeg_finish_compress(&info);
        }))
        return report(file.name, ": jpeg compress fail, stop.");
    file.bytes = writer.take_bytes();
    return true;
}

} // namespace libgr
