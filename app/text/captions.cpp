#include "app/text/captions.h"

#include "app/home_view.h"
#include "render/math/matrix.h"
#include "render/math/projection.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quenvarel {

using render::box3;
using render::mtx3w;
using render::vec3w;

namespace {

// ---- On the keys

constexpr float lift = 0.012f; // above the key's top

// Heights are those of a capital letter, places those of the line's lower edge, counted from the key's end at
// the player; in the world's unit, the width of a white key.
struct line_place {
    float place, height;
};
struct key_lines {
    line_place octave, main, second;
    float margin; // on each side
};
constexpr key_lines on_white = {{0.24f, 0.46f}, {0.86f, 0.70f}, {1.70f, 0.42f}, 0.07f};
constexpr key_lines on_black = {{}, {1.24f, 0.70f}, {2.12f, 0.68f}, 0.08f};
// Seen from home the letters are as wide as they should be.
constexpr float width_per_height = 0.88f;
constexpr float narrowest = 0.7f; // of that width; what is still too wide becomes smaller
constexpr float dot_size = 0.20f;

constexpr render::col3 dark_ink = {0.13f, 0.10f, 0.08f}, light_ink = {0.93f, 0.90f, 0.84f};
constexpr float main_alpha = 0.86f, quiet_alpha = 0.55f;
constexpr float halo_on_dark = 0.85f; // there may be a highlight

float luminance(const render::col3& color) {
    return 0.2126f * color.r + 0.7152f * color.g + 0.0722f * color.b;
}

// A line of text on the top of a key.
struct key_top {
    mtx3w to_clip;
    box3 box;
    float margin;

    vec3w clip(float x, float z) const { return to_clip * vec3w{x, box.max.y + lift, z, 1}; }

    template <class Scale>
    void write(lettering& on, std::u32string_view text, const ink_t& ink, float place, Scale scale) const {
        const float width = text_width(text), room = box.max.x - box.min.x - 2 * margin;
        const float across = std::min(scale.across, room / width);
        const float along = scale.along * std::min(1.0f, across / (narrowest * scale.across));
        const float left = (box.min.x + box.max.x - width * across) / 2, front = box.max.z - place;
        on.set(text, ink, [&](float x, float y) { return clip(left + x * across, front - y * along); });
    }

    // Of something so long, at that distance from the end; in pixels.
    float seen_height(const line_place& of, const viewport& port) const {
        const float x = (box.min.x + box.max.x) / 2, z = box.max.z - of.place;
        const vec3w lower = clip(x, z), upper = clip(x, z - of.height);
        if (!(lower.w > 0 && upper.w > 0)) return 0;
        return std::hypot((upper.x / upper.w - lower.x / lower.w) * float(port.width),
                          (upper.y / upper.w - lower.y / lower.w) * float(port.height)) /
               2;
    }
};

// What an em measures, so that capital letters have that height.
struct em_scale {
    float across, along;
    explicit em_scale(float height) : across(width_per_height * height), along(height) {
        const float ems = font.em / font.capital;
        across *= ems;
        along *= ems;
    }
};

// ---- The line below

constexpr float widest_for_size = 92;            // window widths that an em goes into
constexpr float most_of_room = 0.62f;            // below the keys
constexpr float least_size = 10, most_size = 26; // of an em, in pixels
constexpr float margin_of_width = 0.018f;
constexpr float base_of_size = 0.62f; // of the line above the window's lower edge, in ems
constexpr std::u32string_view gap = U"   ·   ";
constexpr ink_t quiet = {{0.66f, 0.61f, 0.53f}, 0.95f, 0.55f};
constexpr ink_t news = {{1.00f, 0.86f, 0.58f}, 1.00f, 0.55f};

// What goes first when the window is too narrow.
constexpr state_line::item by_importance[] = {
    state_line::sound_set, state_line::device,    state_line::reverb,
    state_line::velocity,  state_line::channel,   state_line::octave,
    state_line::hold,      state_line::recording, state_line::instrument};

} // namespace

void captions::lay_out(const viewport& port) {
    line_.clear();
    line_covers_ = {};
    const float room = float(room_below_keys(render::aspect(port.width, port.height))) * float(port.height);
    const float size = std::round(std::clamp(
        std::min(float(port.width) / widest_for_size, most_of_room * room), least_size, most_size));
    const float left = std::round(margin_of_width * float(port.width)), right = float(port.width) - left;
    const float base = std::round(std::min(base_of_size * size, (room - size * font.capital / font.em) / 2));

    state_line::words words = words_;
    const auto width_of = [&](std::size_t first, std::size_t end) {
        float width = 0;
        for (std::size_t i = first; i < end; ++i)
            if (!words[i].text.empty())
                width += (width > 0 ? text_width(gap) : 0) + text_width(words[i].text);
        return width * size;
    };
    for (const state_line::item least : by_importance) {
        if (width_of(0, state_line::items) <= right - left) break;
        words[least].text.clear();
    }
    const auto write = [&](float x, std::size_t first, std::size_t end) {
        bool begun = false;
        const auto set = [&](std::u32string_view text, const ink_t& ink) {
            line_.set(text, ink, [&](float along, float up) {
                return vec3w{2 * (x + along * size) / float(port.width) - 1,
                             2 * (base + up * size) / float(port.height) - 1, -1, 1};
            });
            x += text_width(text) * size;
        };
        for (std::size_t i = first; i < end; ++i) {
            if (words[i].text.empty()) continue;
            if (std::exchange(begun, true)) set(gap, quiet);
            set(words[i].text, words[i].is_new ? news : quiet);
        }
    };
    write(left, 0, state_line::hold);
    write(right - width_of(state_line::hold, state_line::items), state_line::hold, state_line::items);

    if (line_.vertices().empty()) return;
    const auto pixel = [](float clip, int all) { return (clip + 1) / 2 * float(all); };
    render::pixel_rect covers = {port.width, port.height, 0, 0};
    for (const lettering::vertex& vertex : line_.vertices()) {
        const float x = pixel(vertex.position.x, port.width), y = pixel(vertex.position.y, port.height);
        covers = {std::min(covers.left, int(std::floor(x)) - 1),
                  std::min(covers.bottom, int(std::floor(y)) - 1),
                  std::max(covers.right, int(std::ceil(x)) + 1), std::max(covers.top, int(std::ceil(y)) + 1)};
    }
    line_covers_ = render::intersection(covers, port.whole());
}

void captions::write_on(int key, const painter& with, keyboard_scene& keys) {
    const inscription& says = keys_[std::size_t(key)];
    const auto& box = keys.bounds(key);
    if (says.empty() || !box) return;
    const key_lines& lines = is_black(key) ? on_black : on_white;
    const key_top top = {with.view.projection * keys.model_matrix(key), *box, lines.margin};
    const bool legible = top.seen_height(on_white.main, with.view) >= least_height;
    const bool on_light = luminance(with.glow.seen(keys.color(key), keys.glow(key))) > 0.3f;
    const ink_t ink = on_light ? ink_t{dark_ink, main_alpha} : ink_t{light_ink, 1, halo_on_dark};
    if (!legible) {
        if (says.main.empty()) return;
        const em_scale scale(dot_size * font.em / font.capital);
        top.write(drawn_, U"●", ink, lines.main.place, scale);
        return;
    }
    ink_t quiet_ink = ink;
    quiet_ink.alpha = quiet_alpha;
    const auto write = [&](const std::u32string& text, const ink_t& with_ink, const line_place& where) {
        if (!text.empty()) top.write(drawn_, text, with_ink, where.place, em_scale(where.height));
    };
    write(says.octave, quiet_ink, lines.octave);
    write(says.main, ink, lines.main);
    write(says.second, ink, lines.second);
}

void captions::draw(const painter& with, keyboard_scene& keys, const key_rectangles& covered,
                    const render::pixel_rect& part) {
    drawn_.clear();
    for (int key = 0; key < keyboard_scene::key_count; ++key)
        if (!keys_[std::size_t(key)].empty() &&
            !render::intersection(part, covered[std::size_t(key)]).empty())
            write_on(key, with, keys);
    if (!render::intersection(part, line_covers_).empty()) drawn_.append(line_);
    painter_.draw(drawn_.vertices());
}

} // namespace quenvarel
