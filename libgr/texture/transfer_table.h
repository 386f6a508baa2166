#pragma once
// Finds the GL formats of a pixel descriptor. Needs no context.

#include "libgr/image/descriptor.h"
#include "render/gl/types.h"

namespace libgr {

// The arguments of an upload call that depend on the descriptor.
struct transfer {
    render::gl_enum internal_format; // what the GL keeps
    render::gl_enum format;          // channels of the pixels handed over
    render::gl_enum type;            // their samples

    friend bool operator==(const transfer&, const transfer&) = default;
};

// Looks the descriptor up. With `compressed` the internal format of an unsigned picture is the generic
// compressed one of its channels, where the GL has one. False, after a line with the descriptor's three
// numbers on standard error, when the GL cannot take such pixels; `found` is then unchanged.
//
// The GL reads no samples of 4 or 12 bits. They are listed with the type of the next wider sample: widen such
// pixels (convert_bits) before an upload. Signed RGB and RGBA of 8 or 16 bits are kept in signed formats, so
// that the negative half of a normal map survives.
bool find_transfer(const pixel_descriptor& descriptor, transfer& found, bool compressed = false);

} // namespace libgr
