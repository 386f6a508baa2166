#pragma once
// The comments and application data of a JPEG file.

#include "libgr/image/image.h"

#include <vector>

namespace libgr {

// A comment or an application segment.
struct jpeg_marker {
    int code;         // 0xFE: comment; 0xE0 to 0xEF: application
    pixel_bytes data; // at most 65533 bytes

    // Which application writes such segments.
    bool is_jfif() const;
    bool is_adobe() const;
    bool is_exif() const;
};

using jpeg_markers = std::vector<jpeg_marker>; // in the file's order

} // namespace libgr
