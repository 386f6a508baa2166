#pragma once
// A picture of one, two or three dimensions as the GL reads it. Private to libgr/texture.

#include "libgr/image/image.h"
#include "libgr/texture/transfer_table.h"

#include <GL/glew.h>

namespace libgr {

struct picture_view {
    explicit picture_view(const image1d& image);
    explicit picture_view(const image2d& image);
    explicit picture_view(const image3d& image);

    const image_record& record() const { return *record_; }
    const unsigned char* first_pixel() const;
    bool has_all_bytes() const;
    std::uint64_t bytes() const { return stride * rows; } // with skipped rows and padding
    // Whether the GL reads as many bits for a pixel as the picture has.
    bool is_read_as(const transfer& how) const;
    // Sets the pixel store for the picture.
    void apply_pixel_store() const;

    GLsizei width, height = 1, depth = 1;
    std::uint64_t stride, rows;
    const image2d* flat = nullptr; // the picture itself, where it has two dimensions

private:
    const image_record* record_;
};

// While it lives, pictures of colour numbers go through the table of the first one, and the pixel store may
// be changed.
class transfer_state {
public:
    explicit transfer_state(const image_record& first);
    ~transfer_state();
    transfer_state(const transfer_state&) = delete;
    transfer_state& operator=(const transfer_state&) = delete;

private:
    bool mapping_ = false;
};

} // namespace libgr
