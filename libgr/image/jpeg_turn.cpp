// Quarter turns of the coded coefficients. A turn is a transposition and a mirroring: of the blocks in a
// component, and likewise of the coefficients in a block, where mirroring negates every second one.

#include "libgr/image/exif.h"
#include "libgr/image/jpeg_coder.h"
#include "libgr/image/jpeg_file.h"
#include "libutils/report.h"

#include <algorithm>
#include <array>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

using block_turn = void (*)(JCOEF* to, const JCOEF* from);

void turn_block_90(JCOEF* to, const JCOEF* from) {
    for (int v = 0; v < DCTSIZE; ++v)
        for (int u = 0; u < DCTSIZE; u += 2) {
            to[v * DCTSIZE + u] = from[u * DCTSIZE + v];
            to[v * DCTSIZE + u + 1] = JCOEF(-from[(u + 1) * DCTSIZE + v]);
        }
}

void turn_block_180(JCOEF* to, const JCOEF* from) {
    for (int v = 0; v < DCTSIZE; v += 2, to += 2 * DCTSIZE, from += 2 * DCTSIZE)
        for (int u = 0; u < DCTSIZE; u += 2) {
            to[u] = from[u];
            to[u + 1] = JCOEF(-from[u + 1]);
            to[DCTSIZE + u] = JCOEF(-from[DCTSIZE + u]);
            to[DCTSIZE + u + 1] = from[DCTSIZE + u + 1];
        }
}

void turn_block_270(JCOEF* to, const JCOEF* from) {
    for (int v = 0; v < DCTSIZE; v += 2)
        for (int u = 0; u < DCTSIZE; ++u) {
            to[v * DCTSIZE + u] = from[u * DCTSIZE + v];
            to[(v + 1) * DCTSIZE + u] = JCOEF(-from[u * DCTSIZE + v + 1]);
        }
}

// Whether coding a block keeps it. The code of 8-bit pictures has room for 11 bits of the first coefficient,
// as its difference takes one more, and 10 bits and a sign of each other one. A file can hold larger ones,
// from which no picture is made, and the library would code them as something else without a word.
bool can_be_coded(const JCOEF* block) {
    constexpr JCOEF most = 1023;
    JCOEF low = JCOEF(std::min(block[0] + 1, 0)), high = 0;
    for (int i = 1; i < DCTSIZE2; ++i) {
        low = std::min(low, block[i]);
        high = std::max(high, block[i]);
    }
    return low >= -most && std::max(high, block[0]) <= most;
}

constexpr JDIMENSION rounded_up(JDIMENSION value, int step) {
    return (value + JDIMENSION(step) - 1) / JDIMENSION(step) * JDIMENSION(step);
}

// So many rows of blocks of the turned picture are filled at a time: each row of the source is then walked
// along and not only touched.
constexpr JDIMENSION rows_at_a_time = 16;

class turner {
public:
    turner(jpeg_decompress_struct& source, int quarter_turns) : info_(source), turns_(quarter_turns) {}

    // Whether no edge of partial blocks becomes a left or upper edge.
    bool is_perfect() const {
        // A single component is stored block by block, whatever its sampling factors.
        const bool single = info_.num_components == 1;
        const auto unit_width = JDIMENSION(DCTSIZE * (single ? 1 : info_.max_h_samp_factor));
        const auto unit_height = JDIMENSION(DCTSIZE * (single ? 1 : info_.max_v_samp_factor));
        const bool whole_width = info_.image_width % unit_width == 0;
        const bool whole_height = info_.image_height % unit_height == 0;
        switch (turns_) {
        case 1:
            return whole_height;
        case 2:
            return whole_width && whole_height;
        case 3:
            return whole_width;
        default:
            return true;
        }
    }

    // Asks for the turned arrays; before the source's coefficients are read.
    void request_arrays() {
        for (int c = 0; c < info_.num_components; ++c) {
            const size turned = turned_size(c);
            arrays_[std::size_t(c)] = info_.mem->request_virt_barray(
                reinterpret_cast<j_common_ptr>(&info_), JPOOL_IMAGE, FALSE,
                rounded_up(turned.width, turned.h_samp), rounded_up(turned.height, turned.v_samp),
                std::max(rows_at_a_time, JDIMENSION(turned.v_samp)));
        }
    }

    // False when the file has coefficients that cannot be written again.
    bool turn(jvirt_barray_ptr* source) {
        for (int c = 0; c < info_.num_components; ++c)
            turn_component(c, source[c], arrays_[std::size_t(c)]);
        return all_can_be_coded_;
    }

    // The source's parameters, copied, become those of the turned picture.
    void turn_parameters(jpeg_compress_struct& turned) const {
        if (turns_ == 2) return;
        std::swap(turned.image_width, turned.image_height);
#if JPEG_LIB_VERSION >= 70
        std::swap(turned.jpeg_width, turned.jpeg_height);
#endif
        std::swap(turned.X_density, turned.Y_density);
        for (int c = 0; c < turned.num_components; ++c)
            std::swap(turned.comp_info[c].h_samp_factor, turned.comp_info[c].v_samp_factor);
        for (JQUANT_TBL* table : turned.quant_tbl_ptrs) {
            if (!table) continue;
            for (int v = 0; v < DCTSIZE; ++v)
                for (int u = 0; u < v; ++u)
                    std::swap(table->quantval[v * DCTSIZE + u], table->quantval[u * DCTSIZE + v]);
        }
    }

    jvirt_barray_ptr* arrays() {
        return arrays_.data();
    }

private:
    struct size {
        JDIMENSION width, height; // in blocks
        int h_samp, v_samp;
    };

    size turned_size(int c) const {
        const jpeg_component_info& from = info_.comp_info[c];
        size s{from.width_in_blocks, from.height_in_blocks, from.h_samp_factor, from.v_samp_factor};
        if (turns_ != 2) {
            std::swap(s.width, s.height);
            std::swap(s.h_samp, s.v_samp);
        }
        return s;
    }

    void turn_block(block_turn turn_one, JCOEF* to, const JCOEF* from) {
        turn_one(to, from);
        all_can_be_coded_ &= can_be_coded(to);
    }

    JBLOCKROW source_row(jvirt_barray_ptr source, JDIMENSION row) {
        return info_.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info_), source, row, 1,
                                             FALSE)[0];
    }

    void turn_component(int c, jvirt_barray_ptr source, jvirt_barray_ptr turned) {
        const size to = turned_size(c);
        const JDIMENSION stored_rows = rounded_up(to.height, to.v_samp);
        for (JDIMENSION first = 0; first < stored_rows; first += rows_at_a_time) {
            // The rows that only fill up the last unit count as written, too.
            const JDIMENSION stored = std::min(rows_at_a_time, stored_rows - first);
            JBLOCKARRAY rows = info_.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&info_), turned,
                                                             first, stored, TRUE);
            if (first >= to.height) continue;
            const JDIMENSION count = std::min(stored, to.height - first);
            if (turns_ == 2)
                turn_rows_180(rows, first, count, to, source);
            else
                turn_rows_sideways(rows, first, count, to, source);
        }
    }

    void turn_rows_180(JBLOCKARRAY rows, JDIMENSION first, JDIMENSION count, const size& to,
                       jvirt_barray_ptr source) {
        for (JDIMENSION y = 0; y < count; ++y) {
            const JBLOCK* from = source_row(source, to.height - 1 - (first + y));
            for (JDIMENSION x = 0; x < to.width; ++x)
                turn_block(turn_block_180, rows[y][x], from[to.width - 1 - x]);
        }
    }

    void turn_rows_sideways(JBLOCKARRAY rows, JDIMENSION first, JDIMENSION count, const size& to,
                            jvirt_barray_ptr source) {
        const block_turn turn_one = turns_ == 1 ? turn_block_90 : turn_block_270;
        for (JDIMENSION x = 0; x < to.width; ++x) {
            const JBLOCK* from = source_row(source, turns_ == 1 ? to.width - 1 - x : x);
            for (JDIMENSION y = 0; y < count; ++y)
                turn_block(turn_one, rows[y][x], from[turns_ == 1 ? first + y : to.height - 1 - (first + y)]);
        }
    }

    jpeg_decompress_struct& info_;
    int turns_;
    std::array<jvirt_barray_ptr, MAX_COMPONENTS> arrays_{};
    bool all_can_be_coded_ = true;
};

} // namespace

bool turn_jpeg(jpeg_file& file, int quarter_turns) {
    if (quarter_turns < 0 || quarter_turns > 3)
        return report(quarter_turns, ": jpeg transform rightrotate count over.");
    jpeg_reader reader(file.bytes);
    turner turn(reader.info, quarter_turns);
    jvirt_barray_ptr* coefficients = nullptr;
    bool perfect = true, allowed = true, turned = true;
    const bool read = reader.run([&] {
        reader.read_header();
        perfect = turn.is_perfect();
        // The coefficients as they are and turned.
        allowed = is_allowed(2 * reader.blocks() * sizeof(JBLOCK), file.options, file.name);
        if (!perfect || !allowed) return;
        if (quarter_turns != 0) turn.request_arrays();
        coefficients = jpeg_read_coefficients(&reader.info);
        if (quarter_turns != 0) turned = turn.turn(coefficients);
    });
    if (!allowed) return false;
    if (read && !perfect) return report(file.name, ": transformation is not perfect");
    jpeg_markers markers;
    if (!read || !turned || reader.errors.num_warnings > 0 || reader.ran_out() ||
        !reader.take_markers(markers) || !file.bytes.is_whole())
        return report(file.name, ": jpeg transform fail, stop.");
    if (quarter_turns == 0) {
        file.markers = std::move(markers);
        return true;
    }

    jpeg_writer writer;
    const bool written = writer.run([&] {
        jpeg_copy_critical_parameters(&reader.info, &writer.info);
        turn.turn_parameters(writer.info);
        if (!markers.empty() && markers.front().is_exif()) {
            // An Exif file has no JFIF header in front of its first marker.
            writer.info.write_JFIF_header = FALSE;
            set_exif_size(markers.front().data, writer.info.image_width, writer.info.image_height);
        }
        jpeg_write_coefficients(&writer.info, turn.arrays());
        writer.write_markers(markers, jpeg_writer::colors::as_they_were);
        jpeg_finish_compress(&writer.info);
    });
    if (!written) return report(file.name, ": jpeg transform fail, stop.");
    file.bytes = writer.take_bytes();
    file.markers = std::move(markers);
    return true;
}

} // namespace libgr
