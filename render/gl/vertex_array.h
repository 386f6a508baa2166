#pragma once
// The attributes of a vertex, and the GL object that stores their layout.

#include "render/gl/types.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <vector>

namespace render {

// The attributes that a layout can have.
enum class attribute : std::uint32_t {
    position,   // x, y, z
    normal,     // any direction: x, y, z
    rgba,       // 0..1 each
    texcoord3,  // s, t, r
    texcoord2,  // s, t
    point_size, // diameter in pixels
    id,         // one unsigned integer
    vector3w,   // x, y, z, w; counts in the stride, but the GL refuses to bind it
    matrix3w    // 16 values; likewise
};

struct attribute_kind {
    std::uint32_t components; // 0 for a kind that does not exist
    const char* name;         // null for a kind that does not exist
    gl_enum type;             // GL component type; 0: none
    bool normalised;          // the flag of glVertexAttribPointer
};

// The kind's row of the table; a value above matrix3w gives the row of nothing.
attribute_kind kind_of(attribute which);

// The attributes of a vertex, in the order in which they lie in memory. Immutable; arrays share it through a
// layout_ref.
class vertex_layout {
public:
    virtual ~vertex_layout() = default;
    virtual std::uint32_t size() const = 0;
    virtual attribute kind(std::uint32_t index) const = 0;
};
using layout_ref = std::shared_ptr<const vertex_layout>;

// The layout with no attribute. Always the same object.
layout_ref empty_layout();
// A layout with exactly these attributes.
layout_ref make_layout(std::initializer_list<attribute> kinds);

// Floats per vertex: the sum of the component counts.
std::uint32_t stride_of(const vertex_layout& layout);

// One vertex array object (OpenGL 3.0). Copies share it; the last one deletes it.
class vertex_array_t {
public:
    // Generates the name once (glGenVertexArrays).
    void create();
    // Gives up this copy's share.
    void destroy() noexcept { record_.reset(); }
    // The name, or no_object (1281) before create().
    gl_uint id() const;

    // Attaches the attributes of a layout to the locations first_location, first_location + 1, ... They are
    // read from a buffer with the given stride in floats (glEnableVertexAttribArray, glVertexAttribPointer).
    // Does nothing before create() or for the buffer name 0. Leaves buffer 0 and vertex array 0 bound.
    void bind_layout(const vertex_layout& layout, std::uint32_t stride, gl_uint buffer,
                     std::uint32_t first_location);

    // Draws the first count vertices (glDrawArrays). Leaves vertex array 0 bound.
    void draw_arrays(primitive mode, std::uint64_t count) const;

private:
    struct record {
        gl_uint name = 0;
        bool allocated = false;
        ~record();
    };
    std::shared_ptr<record> record_;
};

} // namespace render
