#pragma once
// Reads, writes and turns JPEG files with libjpeg.
//
// Read: baseline, progressive and arithmetic-coded files of 8-bit samples with one grey channel or three
// channels of colour, as luminance and RGB (or, on request, as they are stored: YCbCr). Other colour spaces
// are refused. Written: luminance, RGB and YCbCr of 8-bit samples.
//
// Decoding a file of several scans needs two bytes a sample for its coefficients, turning any file four. That
// memory is limited. So is the number of samples in a Huffman-coded file, by the file's size, and the number
// of scans, by the picture's size.

#include "libgr/image/jpeg_marker.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// A JPEG file in memory.
struct jpeg_file {
    std::string name; // for messages
    pixel_bytes bytes;
    jpeg_markers markers;
    read_options options;

    // False, after one line on standard error, when there is no such file or it cannot be mapped. The markers
    // come with the decoding.
    bool load(const std::string& file_name);
    // Replaces the file of that name. False, after one line, when that fails; the old file is then unchanged.
    bool save(const std::string& file_name) const;
};

// Decodes the file and keeps its markers. False, after one line, when that is impossible, when the file ends
// early, and when anything after the last row is damaged. Damage inside that the decoder can skip is reported
// in a line, and the picture is used.
bool decode_jpeg(image2d& image, jpeg_file& file, bool keep_ycbcr = false);

// Codes the picture into the file's bytes, with the file's markers; only those that describe the coding
// itself (JFIF, but for its pixel density, and Adobe) are not taken over. quality: 0 to 100; `baseline` keeps
// the quantisation steps within 8 bits. False, after one line, when the picture is of another kind.
bool encode_jpeg(jpeg_file& file, const image2d& image, int quality, bool baseline);

// Turns the file's picture clockwise by quarter turns, 0 to 3, without loss: the coded coefficients change
// their places, nothing is decoded. Markers are kept. False, after one line and with the file unchanged, for
// another count, for a damaged file, and when edges that are no whole blocks would have to become left or
// upper edges.
bool turn_jpeg(jpeg_file& file, int quarter_turns);

} // namespace libgr
