#include "libgr/image/row_writer.h"

#include <string_view>

namespace libgr {

bool rows_can_be_written(const image2d& image) {
    return !image.topdown && !image.compressed && image.holds_pixels() &&
           std::uint64_t(image.skip_pixels) * bits_per_pixel(image.descriptor) % 8 == 0;
}

void write_rows(libutils::saved_file& file, const image2d& image, std::uint32_t alignment) {
    const std::uint64_t bytes = (std::uint64_t(image.width) * bits_per_pixel(image.descriptor) + 7) / 8;
    const std::string padding((alignment - bytes % alignment) % alignment, '\0');
    for (std::uint32_t y = 0; y < image.height; ++y)
        if (!file.write({reinterpret_cast<const char*>(image.row(y)), std::size_t(bytes)}) ||
            !file.write(padding))
            return;
}

} // namespace libgr
