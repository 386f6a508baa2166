#pragma once
// The GL's integer types and the few constants that cross the floors, declared here so that no header of ours
// needs the GL loader.

#include <cstdint>

namespace render {

using gl_enum = std::uint32_t;
using gl_uint = std::uint32_t;
using gl_int = std::int32_t;

// Stands for "no object" and "no target" wherever a GL name or target is asked for: the value of
// GL_INVALID_VALUE. It is handed on to the GL as it is, whose complaint the next step check shows.
inline constexpr gl_uint no_object = 1281;

// Separates the strips of an index list. Any index that is not below the vertex count also ends a strip, but
// only this one is known to the GL.
inline constexpr std::uint32_t restart_index = 0xFFFFFFFFu;

// What vertices are assembled into; the values are those of the GL's primitive modes.
enum class primitive : gl_enum { points = 0, lines = 1, triangles = 4, triangle_strip = 5 };

} // namespace render
