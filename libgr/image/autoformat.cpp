#include "libgr/image/autoformat.h"

#include "libgr/image/bmp.h"
#include "libgr/image/jpeg_file.h"
#include "libgr/image/png_file.h"
#include "libgr/image/processing.h"
#include "libgr/image/tga.h"
#include "libutils/report.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace libgr {

using libutils::report;

namespace {

constexpr std::pair<std::string_view, file_format> extensions[] = {{".jpg", file_format::jpeg},
                                                                   {".bmp", file_format::bmp},
                                                                   {".png", file_format::png},
                                                                   {".tga", file_format::tga}};

bool ends_with(std::string_view name, std::string_view extension) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
    return name.size() >= extension.size() &&
           std::equal(extension.begin(), extension.end(), name.end() - std::ptrdiff_t(extension.size()),
                      [&](char wanted, char c) { return wanted == lower(c); });
}

bool load(file_format format, image2d& image, const std::string& name, const read_options& options) {
    switch (format) {
    case file_format::jpeg: {
        jpeg_file file;
        file.options = options;
        return file.load(name) && decode_jpeg(image, file);
    }
    case file_format::bmp:
        return load_bmp(image, name, options);
    case file_format::png:
        return load_png(image, name, options);
    case file_format::tga:
        return load_tga(image, name, options);
    case file_format::unknown:
        break;
    }
    return report("autoloadformat load fail, fname=", name);
}

} // namespace

file_format format_of(const std::string& name) {
    for (const auto& [extension, format] : extensions)
        if (ends_with(name, extension)) return format;
    return file_format::unknown;
}

bool autoloadformat(image2d& image, const std::string& name) {
    return load_as(format_of(name), image, name);
}

bool load_as(file_format format, image2d& image, const std::string& name, const read_options& options) {
    image2d loaded;
    if (!load(format, loaded, name, options)) return false;
    if (loaded.descriptor.format == pixel_format::color_index) {
        const bool greys = options.as_meant && loaded.colors.all_grey();
        const std::uint64_t bytes = std::uint64_t(loaded.width) * loaded.height * (greys ? 1 : 3);
        if (!is_allowed(bytes, options, name) || !expand_color_index(loaded, loaded, greys)) return false;
    }
    image = std::move(loaded);
    return true;
}

bool autosaveformat(const image2d& image, const std::string& name) {
    return save_as(format_of(name), image, name);
}

bool save_as(file_format format, const image2d& image, const std::string& name) {
    switch (format) {
    case file_format::jpeg: {
        jpeg_file file;
        file.name = name;
        return encode_jpeg(file, image, autosave_jpeg_quality, true) && file.save(name);
    }
    case file_format::bmp:
        return save_bmp(image, name);
    case file_format::png:
        return save_png(image, name);
    case file_format::tga:
        return save_tga(image, name);
    case file_format::unknown:
        break;
    }
    return report("autosaveformat load fail, fname=", name);
}

} // namespace libgr
