#include "libgr/texture/picture_view.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace libgr {

namespace {

// Whether the GL itself has to skip pixels: only where they are parts of a byte. Otherwise the first pixel's
// address is handed over, since Mesa reads from the wrong place when bytes are to be swapped and pixels or
// rows to be skipped.
bool skips_parts_of_bytes(const image_record& image) {
    return bits_per_pixel(image.descriptor) % 8 != 0;
}

// The GL takes maps of a power of two only.
void load_map(GLenum map, const color_table::channel& channel, std::uint64_t count) {
    GLint most = 0;
    glGetIntegerv(GL_MAX_PIXEL_MAP_TABLE, &most);
    std::vector<GLushort> values(std::min(std::bit_ceil(count), std::uint64_t(most)));
    std::copy_n(channel.data(), std::min(count, std::uint64_t(values.size())), values.begin());
    glPixelMapusv(map, GLsizei(values.size()), values.data());
}

} // namespace

picture_view::picture_view(const image1d& image)
    : width(GLsizei(image.width)),
      stride(image.stride()),
      rows(std::uint64_t(image.skip_rows) + 1),
      record_(&image) {}

picture_view::picture_view(const image2d& image)
    : width(GLsizei(image.width)),
      height(GLsizei(image.height)),
      stride(image.stride()),
      rows(std::uint64_t(image.skip_rows) + image.height),
      flat(&image),
      record_(&image) {}

picture_view::picture_view(const image3d& image)
    : width(GLsizei(image.width)),
      height(GLsizei(image.height)),
      depth(GLsizei(image.depth)),
      stride(image.stride()),
      rows((std::uint64_t(image.skip_rows) + image.height) * image.depth),
      record_(&image) {}

const unsigned char* picture_view::first_pixel() const {
    const std::uint64_t pixels = skips_parts_of_bytes(*record_) ? 0 : record_->skip_pixels;
    return record_->pixels.data() + record_->skip_rows * stride +
           pixels * bits_per_pixel(record_->descriptor) / 8;
}

bool picture_view::has_all_bytes() const {
    const std::uint64_t size = record_->pixels.size();
    const std::uint64_t row =
        ((std::uint64_t(record_->skip_pixels) + std::uint32_t(width)) * bits_per_pixel(record_->descriptor) +
         7) /
        8;
    if (rows == 0 || width == 0) return true;
    return row <= size && (stride == 0 || rows - 1 <= (size - row) / stride);
}

bool picture_view::is_read_as(const transfer& how) const {
    const pixel_descriptor& descriptor = record_->descriptor;
    const std::uint32_t pixel = bits_per_pixel(descriptor), channels = components(descriptor.format);
    switch (how.type) {
    case GL_BITMAP:
        return pixel == 1;
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return pixel == 8 * channels;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_HALF_FLOAT:
        return pixel == 16 * channels;
    case GL_INT:
    case GL_UNSIGNED_INT:
    case GL_FLOAT:
        return pixel == 32 * channels;
    default:
        return true; // packed, or a type that the GL refuses
    }
}

void picture_view::apply_pixel_store() const {
    const image_record& image = *record_;
    glPixelStorei(GL_UNPACK_SWAP_BYTES, image.store && image.store->swap_bytes ? GL_TRUE : GL_FALSE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, image.store ? GLint(image.store->alignment) : 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(image.row_length));
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, skips_parts_of_bytes(image) ? GLint(image.skip_pixels) : 0);
    glPixelStorei(GL_UNPACK_IMAGE_HEIGHT, depth > 1 ? GLint(image.skip_rows) + height : 0);
}

transfer_state::transfer_state(const image_record& first) {
    const color_table& colors = first.colors;
    if (first.descriptor.format != pixel_format::color_index || colors.count == 0) return;
    mapping_ = true;
    glPixelTransferi(GL_MAP_COLOR, GL_TRUE);
    load_map(GL_PIXEL_MAP_I_TO_R, colors.red, colors.count);
    load_map(GL_PIXEL_MAP_I_TO_G, colors.green, colors.count);
    load_map(GL_PIXEL_MAP_I_TO_B, colors.blue, colors.count);
}

transfer_state::~transfer_state() {
    if (mapping_) glPixelTransferi(GL_MAP_COLOR, GL_FALSE);
    picture_view(image1d{}).apply_pixel_store(); // the GL's own state
}

} // namespace libgr
