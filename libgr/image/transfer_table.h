#pragma once
// How OpenGL takes the pixels of a descriptor: the table that a texture upload consults. Numbers only, so
// that it needs neither GL headers nor a context.

#include "libgr/image/descriptor.h"

#include <cstdint>

namespace libgr {

// The last three arguments of an upload call that depend on the descriptor.
struct transfer {
    std::uint32_t internal_format; // what GL shall keep
    std::uint32_t format;          // channels of the pixels handed over
    std::uint32_t type;            // their samples

    friend bool operator==(const transfer&, const transfer&) = default;
};

// Looks the descriptor up. With `compressed` the internal format of an unsigned picture is the generic
// compressed one of its channels, where GL has such a form. False, after a line with the descriptor's three
// numbers on standard error, when GL has no way to take such pixels; `found` is then unchanged.
//
// Samples of 4 and 12 bits are listed with the GL type of the next wider sample, because GL reads none that
// are narrower: such pixels have to be widened (convert_bits) before they are handed over.
bool find_transfer(const pixel_descriptor& descriptor, transfer& found, bool compressed = false);

} // namespace libgr
