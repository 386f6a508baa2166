#include "pmt3d/format/polygon_lines.h"

#include "pmt3d/format/fields.h"
#include "pmt3d/surface/strips.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <vector>

namespace pmt3d {

namespace {

// What a piece of text says, on its own.
struct piece_of_block {
    std::vector<vertex_t> vertices;
    std::vector<element_t> elements;
    std::vector<render::dir3> tangents, binormals, normals;
    // The last ones, and how many vertices come before the first; `none` when there are none.
    render::col3a color;
    render::txc2 texcoord;
    std::size_t before_color, before_texcoord;
    static constexpr std::size_t none = SIZE_MAX;
    std::uint64_t bytes, lines;

    void clear() {
        vertices.clear();
        elements.clear();
        for (auto* const directions : {&tangents, &binormals, &normals})
            directions->clear();
        color = {};
        texcoord = {};
        before_color = before_texcoord = none;
        bytes = lines = 0;
    }

    // Reads lines up to the first that is not plain.
    void read(std::string_view text, std::uint64_t vertices_in_all, bool is_observed,
              const std::atomic<bool>& stop) {
        clear();
        observed_ = is_observed;
        vertices_in_all_ = vertices_in_all;
        line_reader in(text);
        while (in.next()) {
            if (!take(in.line())) return;
            bytes = in.position();
            lines = in.number();
            if (lines % 64 == 0 && stop.load(std::memory_order_relaxed)) return;
        }
    }

private:
    static bool finite(float x) { return x - x == 0.0f; }

    bool take(std::string_view line) {
        if (line.empty() || line == "\r") return true;
        switch (line[0]) {
        case '#':
            return true;
        case 'p':
            return line.starts_with("position ") && take_position(line.substr(9));
        case 'e':
            return line.starts_with("element ") && take_element(line.substr(8));
        case 't':
            return line.starts_with("texcoord ") ? take_texcoord(line.substr(9))
                                                 : take_direction(line, "tangent ", tangents);
        case 'b':
            return take_direction(line, "binormal ", binormals);
        case 'n':
            return take_direction(line, "normal ", normals);
        case 'c':
            return line.starts_with("color ") && take_color(line.substr(6));
        default:
            return false;
        }
    }

    // The values of a line, that many and no more, of which an observer would not be told either.
    template <std::size_t N>
    bool expressions(std::string_view values, float (&numbers)[N]) const {
        field_reader fields(values);
        for (float& number : numbers)
            if (!fields.plain_expression(number)) return false;
        return is_plain(fields, numbers);
    }
    template <std::size_t N>
    bool is_plain(const field_reader& fields, const float (&numbers)[N]) const {
        return !fields.odd() && (!observed_ || std::all_of(numbers, numbers + N, finite));
    }

    bool take_position(std::string_view values) {
        float p[3];
        if (!expressions(values, p)) return false;
        vertices.push_back({{p[0], p[1], p[2]}, color, texcoord});
        return true;
    }
    bool take_texcoord(std::string_view values) {
        float t[2];
        if (!expressions(values, t)) return false;
        if (before_texcoord == none) before_texcoord = vertices.size();
        texcoord = {t[0], t[1]};
        return true;
    }
    bool take_color(std::string_view values) {
        field_reader fields(values);
        const render::col3a c{fields.byte_color(), fields.byte_color(), fields.byte_color(),
                              fields.byte_color()};
        if (fields.odd()) return false;
        if (before_color == none) before_color = vertices.size();
        color = c;
        return true;
    }
    bool take_element(std::string_view values) {
        field_reader fields(values);
        const element_t element = fields.integer();
        if (fields.odd() || (observed_ && element >= vertices_in_all_ && element != strip_end)) return false;
        elements.push_back(element);
        return true;
    }
    bool take_direction(std::string_view line, std::string_view key, std::vector<render::dir3>& to) const {
        if (!line.starts_with(key)) return false;
        field_reader fields(line.substr(key.size()));
        float d[3];
        for (float& number : d)
            number = fields.decimal();
        if (!is_plain(fields, d)) return false;
        to.push_back({d[0], d[1], d[2]});
        return true;
    }

    bool observed_;
    std::uint64_t vertices_in_all_;
};

// Puts the pieces into the block in the order of the file, whoever has read them.
class assembly {
public:
    assembly(line_reader& in, polygon_progress& block, const libutils::sharing& how, bool is_observed)
        : in_(in),
          block_(block),
          text_(in.text().substr(in.position())),
          piece_(how.piece),
          observed_(is_observed) {}

    std::uint64_t run(unsigned threads) {
        const std::uint64_t begin = in_.position();
        libutils::on_threads(threads, [&](unsigned thread) {
            try {
                piece_of_block piece;
                do {
                    if (thread == 0) in_.passed(begin + bytes_so_far());
                } while (take_turn(piece));
            } catch (const std::bad_alloc&) {
                stop(); // one thread may have room enough
            }
        });
        in_.took_lines(bytes_, lines_);
        return turn_ - std::min<std::uint64_t>(turn_, ended_early_);
    }

private:
    // Where piece `number` begins: behind the line that crosses its nominal beginning. Nothing when that line
    // is longer than a piece.
    std::optional<std::uint64_t> begin_of(std::uint64_t number) const {
        if (number == 0) return 0;
        const std::uint64_t nominal = number * piece_ - 1;
        if (nominal >= text_.size()) return text_.size();
        const std::size_t end = text_.substr(nominal, piece_).find('\n');
        if (end != text_.npos) return nominal + end + 1;
        if (text_.size() - nominal <= piece_) return text_.size();
        return {};
    }

    // Reads one piece and puts it in its place. False when there is no more to do.
    bool take_turn(piece_of_block& piece) {
        const std::uint64_t number = next_++;
        const auto begin = begin_of(number), end = begin_of(number + 1);
        piece.clear();
        bool whole = begin && end && *begin < text_.size();
        if (whole) {
            const std::string_view text = text_.substr(*begin, *end - *begin);
            piece.read(text, block_.vertices.size(), observed_, stopped_);
            whole = piece.bytes == text.size();
        }

        polygon_progress from;
        {
            std::unique_lock lock(mutex_);
            turned_.wait(lock, [&] { return stopped_ || turn_ == number; });
            if (stopped_) return false;
            from = block_;
            const bool room = has_room(piece);
            if (room) advance(piece);
            ++turn_;
            if (!whole || !room) {
                stopped_ = true;
                ended_early_ = true;
            }
            turned_.notify_all();
            if (!room) return false;
        }
        put(piece, from);
        return whole;
    }

    void stop() {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        turned_.notify_all();
    }

    std::uint64_t bytes_so_far() {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }

    bool has_room(const piece_of_block& piece) const {
        const auto fits = [](std::uint64_t count, std::size_t more, std::size_t all) {
            return count + more <= all;
        };
        return fits(block_.vertex_count, piece.vertices.size(), block_.vertices.size()) &&
               fits(block_.element_count, piece.elements.size(), block_.elements.size()) &&
               fits(block_.tangent_count, piece.tangents.size(), block_.frames.size()) &&
               fits(block_.binormal_count, piece.binormals.size(), block_.frames.size()) &&
               fits(block_.normal_count, piece.normals.size(), block_.frames.size());
    }

    void advance(const piece_of_block& piece) {
        block_.vertex_count += piece.vertices.size();
        block_.element_count += piece.elements.size();
        block_.tangent_count += piece.tangents.size();
        block_.binormal_count += piece.binormals.size();
        block_.normal_count += piece.normals.size();
        if (piece.before_color != piece.none) block_.color = piece.color;
        if (piece.before_texcoord != piece.none) block_.texcoord = piece.texcoord;
        bytes_ += piece.bytes;
        lines_ += piece.lines;
    }

    // from: how far the block was before the piece.
    static void put(piece_of_block& piece, const polygon_progress& from) {
        const std::size_t vertices = piece.vertices.size();
        const std::size_t uncoloured = std::min(piece.before_color, vertices),
                          unmapped = std::min(piece.before_texcoord, vertices);
        for (std::size_t i = 0; i < uncoloured; ++i)
            piece.vertices[i].color = from.color;
        for (std::size_t i = 0; i < unmapped; ++i)
            piece.vertices[i].texcoord = from.texcoord;
        std::copy(piece.vertices.begin(), piece.vertices.end(),
                  from.vertices.begin() + std::ptrdiff_t(from.vertex_count));
        std::copy(piece.elements.begin(), piece.elements.end(),
                  from.elements.begin() + std::ptrdiff_t(from.element_count));
        const auto put_directions = [&](const std::vector<render::dir3>& directions, std::uint64_t first,
                                        render::dir3 frame_t::*which) {
            for (std::size_t i = 0; i < directions.size(); ++i)
                from.frames[first + i].*which = directions[i];
        };
        put_directions(piece.tangents, from.tangent_count, &frame_t::tangent);
        put_directions(piece.binormals, from.binormal_count, &frame_t::binormal);
        put_directions(piece.normals, from.normal_count, &frame_t::normal);
    }

    line_reader& in_;
    polygon_progress& block_;
    const std::string_view text_;
    const std::uint64_t piece_;
    const bool observed_;
    std::atomic<std::uint64_t> next_ = 0;
    std::atomic<bool> stopped_ = false; // no further piece has its turn
    std::mutex mutex_;                  // of the block's counts and what follows
    std::condition_variable turned_;
    std::uint64_t turn_ = 0; // the piece that comes next
    bool ended_early_ = false;
    std::uint64_t bytes_ = 0, lines_ = 0;
};

} // namespace

std::uint64_t read_plain_lines(line_reader& in, polygon_progress& block, const libutils::sharing& how,
                               bool is_observed) {
    return assembly(in, block, how, is_observed).run(how.threads);
}

} // namespace pmt3d
