#pragma once
// Wraps libjpeg for decoding, encoding and turning: errors return instead of ending the process, files are
// read from and written to memory, and no file keeps the decoder busy forever. Private to libgr/image.

#include "libgr/image/escape.h"
#include "libgr/image/jpeg_marker.h"

#include <cstddef>
#include <cstdio>
#include <jpeglib.h>

namespace libgr {

// Fatal errors take the way out; warnings are counted (num_warnings), nothing is printed.
struct jpeg_errors : jpeg_error_mgr {
    jpeg_errors();
    [[noreturn]] void leave() { way_out.leave(); }

    escape way_out;
    bool data_ended = false; // a warning said that a scan has too little data
};

// libjpeg's decompressor over bytes in memory.
class jpeg_reader {
public:
    explicit jpeg_reader(const pixel_bytes& bytes);
    ~jpeg_reader() { jpeg_destroy_decompress(&info); }
    jpeg_reader(const jpeg_reader&) = delete;
    jpeg_reader& operator=(const jpeg_reader&) = delete;

    // False when a fatal error ended the work.
    template <class Work>
    bool run(const Work& work) {
        return created_ && errors.way_out.run(work);
    }

    // Call it within run(). Keeps the markers, reads up to the first scan, and refuses a picture of more
    // blocks than so few bytes can hold.
    void read_header();
    // Of all components together, once the header is read.
    std::uint64_t blocks() const;
    // The markers that were read, in one buffer; false without memory.
    bool take_markers(jpeg_markers& markers) const;
    // Whether libjpeg asked for bytes beyond the last one.
    bool ran_out() const { return source_.ran_out; }

    jpeg_decompress_struct info{};
    jpeg_errors errors;

private:
    struct source : jpeg_source_mgr {
        bool ran_out = false;
    };

    static void refuse_endless_scans(j_common_ptr info);

    std::size_t size_;
    source source_{};
    jpeg_progress_mgr progress_{};
    int most_scans_ = 0;
    bool created_ = false;
};

// libjpeg's compressor into bytes in memory.
class jpeg_writer {
public:
    jpeg_writer();
    ~jpeg_writer() { jpeg_destroy_compress(&info); }
    jpeg_writer(const jpeg_writer&) = delete;
    jpeg_writer& operator=(const jpeg_writer&) = delete;

    template <class Work>
    bool run(const Work& work) {
        return created_ && errors.way_out.run(work);
    }

    // To be called while running, after the coding has started: all markers but those that the coder itself
    // writes. An Adobe marker is true only of the colours that it came with.
    enum class colors { as_they_were, coded_anew };
    void write_markers(const jpeg_markers& markers, colors coded);
    // What was written, once the coder has finished.
    pixel_bytes take_bytes();

    jpeg_compress_struct info{};
    jpeg_errors errors;

private:
    struct destination : jpeg_destination_mgr {
        pixel_bytes bytes;
    };

    static void begin(j_compress_ptr info);
    static boolean grow(j_compress_ptr info);

    destination destination_;
    bool created_ = false;
};

} // namespace libgr
