#pragma once
// Reads and writes picture files. The extension names the format: ".jpg", ".bmp", ".png" or ".tga", in any
// case.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// Reads a picture and replaces colour numbers by their colours. False, after one line on standard error, for
// another extension ("autoloadformat load fail, fname=" and the name) and for a file that is damaged or of an
// unsupported kind; the image is then unchanged.
bool autoloadformat(image2d& image, const std::string& name);

// Writes a picture, JPEG with quality 95. False, after one line, for another extension ("autosaveformat load
// fail, fname=" and the name), for a picture that the format cannot hold, and when the file cannot be
// written; an existing file is then unchanged.
bool autosaveformat(const image2d& image, const std::string& name);

// What autosaveformat uses for JPEG files.
inline constexpr int autosave_jpeg_quality = 95;

// The format that the extension of a name means.
enum class file_format { unknown, jpeg, bmp, png, tga };
file_format format_of(const std::string& name);

// Reads and writes a file of a given format under any name. `unknown` is reported as a wrong extension.
bool load_as(file_format format, image2d& image, const std::string& name, const read_options& options = {});
bool save_as(file_format format, const image2d& image, const std::string& name);

} // namespace libgr
