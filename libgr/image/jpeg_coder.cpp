#include "libgr/image/jpeg_coder.h"

#include <algorithm>
#include <jerror.h>
#include <utility>

namespace libgr {

namespace {

constexpr std::size_t first_buffer_bytes = 65536;

// A block takes at least one bit of Huffman codes. Arithmetic coding can do with next to nothing.
constexpr std::uint64_t huffman_blocks_per_byte = 8;

// Every scan may touch every block. So many scans are enough for any sane file, whatever its size, and no
// file gets more; in between, the blocks touched altogether are bounded.
constexpr std::uint64_t always_allowed_scans = 16, never_more_scans = 500, touched_blocks = 1u << 26;

jpeg_errors& errors_of(j_common_ptr info) {
    return *static_cast<jpeg_errors*>(info->err);
}

[[noreturn]] void on_error(j_common_ptr info) {
    errors_of(info).leave();
}

void on_message(j_common_ptr info, int level) {
    if (level >= 0) return; // not a warning
    ++info->err->num_warnings;
    if (info->err->msg_code == JWRN_HIT_MARKER) errors_of(info).data_ended = true;
}

void print_nothing(j_common_ptr) {}

} // namespace

jpeg_errors::jpeg_errors() : jpeg_error_mgr{} {
    jpeg_std_error(this);
    error_exit = on_error;
    emit_message = on_message;
    output_message = print_nothing;
}

jpeg_reader::jpeg_reader(const pixel_bytes& bytes) : size_(std::size_t(bytes.size())) {
    info.err = &errors;
    created_ = errors.way_out.run([&] { jpeg_create_decompress(&info); });
    if (!created_) return;
    source_.next_input_byte = bytes.data();
    source_.bytes_in_buffer = size_;
    source_.init_source = [](j_decompress_ptr) {};
    // Beyond the end there is the marker of the end, as often as it is asked for.
    source_.fill_input_buffer = [](j_decompress_ptr cinfo) -> boolean {
        static constexpr JOCTET end[] = {0xFF, JPEG_EOI};
        auto* from = static_cast<source*>(cinfo->src);
        from->ran_out = true;
        from->next_input_byte = end;
        from->bytes_in_buffer = sizeof end;
        return TRUE;
    };
    source_.skip_input_data = [](j_decompress_ptr cinfo, long count) {
        const std::size_t skipped = std::min(std::size_t(std::max(count, 0L)), cinfo->src->bytes_in_buffer);
        cinfo->src->next_input_byte += skipped;
        cinfo->src->bytes_in_buffer -= skipped;
    };
    source_.resync_to_restart = jpeg_resync_to_restart;
    source_.term_source = [](j_decompress_ptr) {};
    info.src = &source_;
    progress_.progress_monitor = refuse_endless_scans;
    info.progress = &progress_;
    info.client_data = this;
}

void jpeg_reader::refuse_endless_scans(j_common_ptr info) {
    auto* self = static_cast<jpeg_reader*>(info->client_data);
    if (self->info.input_scan_number > self->most_scans_) self->errors.leave();
}

void jpeg_reader::read_header() {
    jpeg_save_markers(&info, JPEG_COM, 0xFFFF);
    for (int i = 0; i < 16; ++i)
        jpeg_save_markers(&info, JPEG_APP0 + i, 0xFFFF);
    jpeg_read_header(&info, TRUE);
    if (!info.arith_code && blocks() > huffman_blocks_per_byte * size_) errors.leave();
    most_scans_ = int(std::clamp(touched_blocks / std::max<std::uint64_t>(blocks(), 1), always_allowed_scans,
                                 never_more_scans));
}

std::uint64_t jpeg_reader::blocks() const {
    std::uint64_t all = 0;
    for (int i = 0; i < info.num_components; ++i)
        all += std::uint64_t(info.comp_info[i].width_in_blocks) * info.comp_info[i].height_in_blocks;
    return all;
}

bool jpeg_reader::take_markers(jpeg_markers& markers) const {
    std::uint64_t total = 0;
    for (jpeg_saved_marker_ptr m = info.marker_list; m; m = m->next)
        total += m->data_length;
    pixel_bytes all;
    markers.clear();
    if (!all.allocate(total)) return false;
    std::uint64_t at = 0;
    for (jpeg_saved_marker_ptr m = info.marker_list; m; m = m->next) {
        std::copy_n(m->data, m->data_length, all.data() + at);
        markers.push_back({m->marker, all});
        markers.back().data.set_view(at, m->data_length);
        at += m->data_length;
    }
    return true;
}

jpeg_writer::jpeg_writer() {
    info.err = &errors;
    created_ = errors.way_out.run([&] { jpeg_create_compress(&info); });
    destination_.init_destination = begin;
    destination_.empty_output_buffer = grow;
    destination_.term_destination = [](j_compress_ptr) {};
    info.dest = &destination_;
}

void jpeg_writer::begin(j_compress_ptr info) {
    auto* to = static_cast<destination*>(info->dest);
    if (!to->bytes.allocate(first_buffer_bytes)) errors_of(reinterpret_cast<j_common_ptr>(info)).leave();
    to->next_output_byte = to->bytes.data();
    to->free_in_buffer = first_buffer_bytes;
}

boolean jpeg_writer::grow(j_compress_ptr info) {
    auto* to = static_cast<destination*>(info->dest);
    const auto full = std::size_t(to->bytes.size());
    if (!to->bytes.resize(2 * full)) errors_of(reinterpret_cast<j_common_ptr>(info)).leave();
    to->next_output_byte = to->bytes.data() + full;
    to->free_in_buffer = full;
    return TRUE;
}

void jpeg_writer::write_markers(const jpeg_markers& markers, colors coded) {
    for (const jpeg_marker& m : markers) {
        if (m.is_jfif() && info.write_JFIF_header) continue;
        if (m.is_adobe() && (info.write_Adobe_marker || coded == colors::coded_anew)) continue;
        jpeg_write_marker(&info, m.code, m.data.data(), unsigned(m.data.size()));
    }
}

pixel_bytes jpeg_writer::take_bytes() {
    pixel_bytes taken = std::move(destination_.bytes);
    taken.set_view(0, taken.size() - destination_.free_in_buffer);
    return taken;
}

} // namespace libgr
