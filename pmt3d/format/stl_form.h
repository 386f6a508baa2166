#pragma once
// The layout of binary STL files, and how to tell them from text.

#include "pmt3d/format/line_reader.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace pmt3d {

inline constexpr std::string_view stl_text_start = "solid";
inline constexpr std::size_t stl_header = 80,
                             stl_prefix = stl_header + 4; // bytes; the prefix includes the count
inline constexpr std::size_t stl_record = 50;             // normal, three vertices, attribute word

// The count of a file of at least stl_prefix bytes.
inline std::uint32_t stl_triangle_count(std::string_view bytes) {
    std::uint32_t count;
    std::memcpy(&count, bytes.data() + stl_header, sizeof count);
    return count;
}

// Some programs begin binary headers with "solid" as well. The size identifies them; text of that size would
// contain facets.
inline bool is_text_stl(std::string_view bytes) {
    const std::size_t begin = bytes.starts_with(line_reader::byte_order_mark) ? 3 : 0;
    if (!bytes.substr(begin).starts_with(stl_text_start)) return false;
    if (bytes.size() < stl_prefix) return true;
    const std::uint64_t binary = stl_prefix + std::uint64_t(stl_triangle_count(bytes)) * stl_record;
    return bytes.size() < binary || (bytes.size() > binary && bytes.find("facet") != bytes.npos);
}

} // namespace pmt3d
