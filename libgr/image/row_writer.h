#pragma once
// Writes the rows of a picture as uncompressed file formats store them.

#include "libgr/image/image.h"
#include "libutils/saved_file.h"

namespace libgr {

// Whether all rows are there and begin at whole bytes.
bool rows_can_be_written(const image2d& image);

// Appends the rows from the bottom up, each padded with zeros to a multiple of `alignment` bytes. Failures
// are seen by the file's commit().
void write_rows(libutils::saved_file& file, const image2d& image, std::uint32_t alignment);

} // namespace libgr
