#include "libgr/image/jpeg_marker.h"

#include <cstring>
#include <string_view>

namespace libgr {

namespace {

constexpr int first_application = 0xE0;

bool begins_with(const jpeg_marker& marker, int application, std::string_view name) {
    return marker.code == first_application + application && marker.data.size() >= name.size() &&
           std::memcmp(marker.data.data(), name.data(), name.size()) == 0;
}

} // namespace

bool jpeg_marker::is_jfif() const {
    return begins_with(*this, 0, {"JFIF\0", 5});
}

bool jpeg_marker::is_exif() const {
    return begins_with(*this, 1, {"Exif\0\0", 6});
}

bool jpeg_marker::is_adobe() const {
    return begins_with(*this, 14, "Adobe");
}

} // namespace libgr
