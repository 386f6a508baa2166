#pragma once
// The GL's integer types and the few constants that other folders need, so no header has to include the GL
// loader.

#include <cstdint>

namespace render {

using gl_enum = std::uint32_t;
using gl_uint = std::uint32_t;
using gl_int = std::int32_t;

// Means "no object" and "no target": the value of GL_INVALID_VALUE. It is passed to the GL unchanged; the
// next step check reports the GL's error.
inline constexpr gl_uint no_object = 1281;

// Separates the strips of an index list. Any index that is not below the vertex count also ends a strip, but
// the GL only knows this one.
inline constexpr std::uint32_t restart_index = 0xFFFFFFFFu;

// The shapes that vertices form; the values are the GL's primitive modes.
enum class primitive : gl_enum { points = 0, lines = 1, triangles = 4, triangle_strip = 5 };

} // namespace render
