#pragma once
// Picture files by the extension of their names: ".jpg", ".bmp", ".png" and ".tga", in any case.

#include "libgr/image/image.h"
#include "libgr/image/read_options.h"

#include <string>

namespace libgr {

// Reads a picture. Colour numbers are resolved, so that no caller ever sees a picture of them. False, after
// one line on standard error, for another extension ("autoloadformat load fail, fname=" and the name) and
// when the file is not a whole picture that its reader understands; the image is then as it was.
bool autoloadformat(image2d& image, const std::string& name);

// Writes a picture, JPEG with quality 95. False, after one line, for another extension ("autosaveformat load
// fail, fname=" and the name), for a picture that the format does not take, and when the file cannot be
// written; a file of that name is then as it was.
bool autosaveformat(const image2d& image, const std::string& name);

// What autosaveformat uses for JPEG files.
inline constexpr int autosave_jpeg_quality = 95;

// The format that a name's extension stands for.
enum class file_format { unknown, jpeg, bmp, png, tga };
file_format format_of(const std::string& name);

// The same for a file of that format, whatever its name. The messages about an extension go with `unknown`.
bool load_as(file_format format, image2d& image, const std::string& name, const read_options& options = {});
bool save_as(file_format format, const image2d& image, const std::string& name);

} // namespace libgr
