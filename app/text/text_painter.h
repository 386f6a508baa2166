#pragma once
// Draws letters with the GL.

#include "app/text/font.h"
#include "render/gl/program.h"
#include "render/gl/types.h"
#include "render/math/types.h"

#include <array>
#include <span>
#include <string_view>
#include <vector>

namespace quenvarel {

struct ink_t {
    render::col3 color;
    float alpha = 1;
    float halo = 0; // darkness around the letters, which keeps them legible on any ground
};

// Two triangles a letter. Empty until something is set.
class lettering {
public:
    struct vertex {
        render::vec3w position; // clip space
        std::array<float, 2> texel;
        std::array<float, 4> ink;
        float halo;
    };

    // Sets a line of text that begins at the origin: place(x, y) brings a point, in ems to the right and up,
    // to clip space.
    template <class Place>
    void set(std::u32string_view text, const ink_t& ink, Place place) {
        float origin = 0; // texels
        for (const char32_t character : text) {
            const letter& each = letter_for(character);
            if (each.width > 0) add(each, origin, ink, place);
            origin += each.advance;
        }
    }
    void append(const lettering& other) {
        vertices_.insert(vertices_.end(), other.vertices_.begin(), other.vertices_.end());
    }
    void clear() { vertices_.clear(); }
    std::span<const vertex> vertices() const { return vertices_; }

private:
    template <class Place>
    void add(const letter& each, float origin, const ink_t& ink, Place place) {
        const auto corner = [&](int right, int down) {
            const int x = right * each.width, y = down * each.height;
            const std::array<float, 2> texel = {float(each.x + x), float(each.y + y)};
            const auto& [r, g, b] = ink.color;
            return vertex{place((origin + float(each.left + x)) / font.em, float(each.top - y) / font.em),
                          texel,
                          {r, g, b, ink.alpha},
                          ink.halo};
        };
        for (const auto& [right, down] : {std::array{0, 1}, {1, 1}, {1, 0}, {0, 1}, {1, 0}, {0, 0}})
            vertices_.push_back(corner(right, down));
    }

    std::vector<vertex> vertices_;
};

// Needs the context that was current at its first draw(), which makes what it needs. What cannot be made is
// reported in one line, and nothing is drawn then.
class text_painter {
public:
    text_painter() = default;
    ~text_painter() { destroy(); }
    text_painter(const text_painter&) = delete;
    text_painter& operator=(const text_painter&) = delete;

    // Over what is there, where it is not nearer.
    void draw(std::span<const lettering::vertex> letters);
    // Gives everything back.
    void destroy() noexcept;

private:
    bool make();

    render::program_t program_;
    render::gl_uint field_ = 0, vertices_ = 0, layout_ = 0;
    bool failed_ = false;
};

} // namespace quenvarel
