#include "tools/pmt3d/import/made_pictures.h"

#include "libgr/image/autoformat.h"
#include "libgr/image/convert.h"
#include "libgr/image/image.h"
#include "libutils/file_path.h"
#include "libutils/report.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <vector>

namespace tool {

namespace fs = std::filesystem;
using libgr::file_format;
using libutils::file_name;
using libutils::file_path;

namespace {

// What the first bytes of a picture file say.
file_format format_of_bytes(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xD8\xFF")) return file_format::jpeg;
    if (bytes.starts_with("\x89PNG\r\n")) return file_format::png;
    if (bytes.starts_with("BM")) return file_format::bmp;
    return file_format::unknown;
}

const char* ending_of(file_format format) {
    switch (format) {
    case file_format::jpeg:
        return ".jpg";
    case file_format::png:
        return ".png";
    case file_format::bmp:
        return ".bmp";
    default:
        return ".tga";
    }
}

// The format of a file: what its first bytes say or, as TGA has nothing of the kind, its name.
file_format format_of_file(const fs::path& path) {
    char start[8] = {};
    std::ifstream in(path, std::ios::binary);
    in.read(start, sizeof start);
    const file_format format = format_of_bytes({start, std::size_t(in.gcount())});
    if (format != file_format::unknown) return format;
    return libgr::format_of(file_name(path)) == file_format::tga ? file_format::tga : file_format::unknown;
}

// A name for a file, of letters, digits and marks that are harmless everywhere.
std::string label_of(std::string_view name) {
    name = name.substr(name.find_last_of("/\\") + 1);
    name = name.substr(0, name.rfind('.')).substr(0, 64);
    std::string label(name);
    std::replace_if(
        label.begin(), label.end(), [](unsigned char c) { return !std::isalnum(c) && c != '-'; }, '_');
    return label.empty() ? "picture" : label;
}

// The characters that a URI writes as % and two digits.
std::string decoded(const std::string& uri) {
    std::string text;
    for (std::size_t at = 0; at < uri.size(); ++at) {
        unsigned char byte = 0;
        const char* const digits = uri.data() + at + 1;
        if (uri[at] == '%' && at + 2 < uri.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2 && byte >= ' ') {
            text += char(byte);
            at += 2;
        } else
            text += uri[at];
    }
    return text;
}

// What makes a name one of several: nothing for the first.
std::string counted(int number) {
    std::string text;
    if (number > 1) text.append("-").append(std::to_string(number));
    return text;
}

bool same_bytes(const fs::path& a, const fs::path& b) {
    std::error_code error;
    if (fs::file_size(a, error) != fs::file_size(b, error) || error) return false;
    std::ifstream x(a, std::ios::binary), y(b, std::ios::binary);
    using bytes = std::istreambuf_iterator<char>;
    return x && y && std::equal(bytes(x), {}, bytes(y));
}

bool load(libgr::image2d& image, const std::string& path) {
    libgr::read_options options;
    options.as_meant = true;
    return libgr::load_as(format_of_file(file_path(path)), image, path, options);
}

// A picture of the same size, row by row; read_rgb_row gives what `make` gets.
bool change(const std::string& from, const std::string& to, std::uint32_t format,
            const std::function<void(unsigned char* made, const unsigned char* rgb)>& make) {
    libgr::image2d image, made;
    if (!load(image, from)) return false;
    made.width = image.width;
    made.height = image.height;
    made.descriptor = libgr::kinds::unsigned_samples(format);
    if (!made.allocate()) return libutils::report(from, ": there is no memory for the picture.");
    const std::uint32_t channels = libgr::components(format);
    std::vector<unsigned char> rgb(std::size_t(3) * image.width);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (!libgr::read_rgb_row(rgb.data(), image, y)) return false;
        for (std::uint32_t x = 0; x < image.width; ++x)
            make(made.row(y) + channels * x, rgb.data() + 3 * x);
    }
    return libgr::save_as(file_format::png, made, to);
}

// A share of what 128 and more or less of it mean, as a signed byte.
unsigned char signed_byte(unsigned char value) {
    return static_cast<unsigned char>(static_cast<signed char>(std::lround((value / 127.5 - 1) * 127)));
}

bool is_grey(const std::string& path) {
    libgr::image2d image;
    if (!load(image, path)) return false;
    std::vector<unsigned char> rgb(std::size_t(3) * image.width);
    for (std::uint32_t y = 0; y < image.height; ++y) {
        if (!libgr::read_rgb_row(rgb.data(), image, y)) return false;
        for (std::size_t at = 0; at < rgb.size(); at += 3)
            if (rgb[at] != rgb[at + 1] || rgb[at] != rgb[at + 2]) return false;
    }
    return true;
}

} // namespace

bool say(pmt3d::load_observer* observer, const std::string& file, const std::string& text) {
    if (!observer) return libutils::report("pmt3d: ", file, ": ", text);
    observer->left_out({}, text);
    return false;
}

made_pictures::~made_pictures() {
    std::error_code ignored;
    if (!folder_.empty()) fs::remove_all(folder_, ignored);
}

void made_pictures::begin(const std::string& model_file, pmt3d::load_observer* observer) {
    model_file_ = model_file;
    observer_ = observer;
    embedded_.clear();
    sources_.clear();
    derived_.clear();
    reported_.clear();
}

bool made_pictures::have_folder() {
    std::random_device random;
    for (int tries = 0; folder_.empty() && tries < 100; ++tries) {
        std::error_code error;
        const fs::path folder = fs::temp_directory_path(error) / ("pmt3d-" + std::to_string(random()));
        if (error || !fs::create_directory(folder, error)) continue;
        fs::permissions(folder, fs::perms::owner_all, error);
        folder_ = folder;
    }
    return !folder_.empty() || libutils::report("pmt3d: there is no folder for temporary files.");
}

std::string made_pictures::new_file(const std::string& label, const std::string& ending) {
    if (!have_folder()) return {};
    for (int number = 1;; ++number) {
        const fs::path path = folder_ / (label + counted(number) + ending);
        if (!fs::exists(path)) return file_name(path);
    }
}

void made_pictures::add(std::uint64_t number, const std::string& name, std::string_view bytes) {
    const file_format format = format_of_bytes(bytes);
    if (format == file_format::unknown) return; // said when a surface wants it
    const std::string path =
        new_file(name.empty() ? "picture" + std::to_string(number) : label_of(name), ending_of(format));
    if (path.empty()) return;
    std::ofstream(file_path(path), std::ios::binary).write(bytes.data(), std::streamsize(bytes.size()));
    embedded_[number] = file_path(path);
}

void made_pictures::leave_out(const std::string& name, const std::string& why) {
    if (!reported_.insert(name).second) return;
    const std::string which = name.starts_with('*') ? "number " + name.substr(1) + " in it" : name;
    say(observer_, model_file_, "the picture " + which + ' ' + why);
}

const made_pictures::source& made_pictures::find(const std::string& name) {
    const auto [at, added] = sources_.try_emplace(name);
    if (added) at->second = look_for(name);
    return at->second;
}

made_pictures::source made_pictures::look_for(const std::string& name) {
    if (name.starts_with('*')) {
        std::uint64_t number = 0;
        std::from_chars(name.data() + 1, name.data() + name.size(), number);
        const auto at = embedded_.find(number);
        if (at == embedded_.end()) {
            leave_out(name, "is not JPEG, PNG or BMP and is left out.");
            return {};
        }
        const std::string path = file_name(at->second);
        return {path, path, true};
    }
    std::string wanted = name;
    std::replace(wanted.begin(), wanted.end(), '\\', '/');
    const fs::path folder = file_path(model_file_).parent_path();
    const std::string without_folders = wanted.substr(wanted.rfind('/') + 1);
    for (const std::string& as : {name, wanted, decoded(wanted), without_folders, decoded(without_folders)}) {
        std::error_code error;
        const fs::path path = folder / file_path(as);
        if (as.empty() || !fs::is_regular_file(path, error)) continue;
        const file_format format = format_of_file(path);
        if (format == file_format::unknown) {
            leave_out(name, "is not JPEG, PNG, BMP or TGA and is left out.");
            return {};
        }
        return {file_name(path), as, libgr::format_of(as) == format};
    }
    leave_out(name, "is missing and is left out.");
    return {};
}

template <class Make>
std::string made_pictures::derived(const std::string& name, const std::string& purpose, Make&& make) {
    const auto [at, added] = derived_.try_emplace({name, purpose});
    if (!added) return at->second;
    const std::string path = new_file(name.empty() ? purpose : label_of(name) + '-' + purpose, ".png");
    if (!path.empty() && make(path)) at->second = path;
    return at->second;
}

std::string made_pictures::plain(const std::string& name) {
    if (name.empty()) return {};
    const source& from = find(name);
    if (from.path.empty() || from.as_it_is) return from.name;
    // A picture with another format's ending, or a longer one than our readers know.
    const auto [at, added] = derived_.try_emplace({name, "plain"});
    if (added) {
        std::error_code error;
        const std::string path = new_file(label_of(name), ending_of(format_of_file(file_path(from.path))));
        if (!path.empty() && fs::copy_file(file_path(from.path), file_path(path), error)) at->second = path;
    }
    return at->second;
}

libgr::texture_options made_pictures::options_for(const look& dress) {
    libgr::texture_options options;
    options.texture = plain(dress.color);
    const auto normal_map = [&](const std::string& name) {
        const source& from = find(name);
        if (from.path.empty()) return;
        options.bumpofs = false;
        options.bumpmap = derived(name, "normals", [&](const std::string& path) {
            return change(from.path, path, libgr::pixel_format::rgb,
                          [](unsigned char* made, const unsigned char* rgb) {
                              std::transform(rgb, rgb + 3, made, signed_byte);
                          });
        });
    };
    if (!dress.normal.empty())
        normal_map(dress.normal);
    else if (!dress.height.empty()) {
        const source& from = find(dress.height);
        if (!from.path.empty()) {
            if (is_grey(from.path)) {
                options.bumpmap = plain(dress.height);
                options.bump2mono = true;
            } else
                normal_map(dress.height);
        }
    }
    const float roughness = dress.roughness < 0 ? 1 : dress.roughness;
    if (!dress.roughness_map.empty()) {
        const source& from = find(dress.roughness_map);
        if (!from.path.empty())
            options.specular =
                derived(dress.roughness_map, "shine" + std::to_string(int(100 * roughness)),
                        [&](const std::string& path) {
                            return change(from.path, path, libgr::pixel_format::rgb,
                                          [&](unsigned char* made, const unsigned char* rgb) {
                                              std::fill_n(made, 3,
                                                          static_cast<unsigned char>(
                                                              std::lround(255 - roughness * float(rgb[1]))));
                                          });
                        });
    } else if (!dress.specular.empty())
        options.specular = plain(dress.specular);
    if (options.specular.empty() && dress.roughness >= 0) {
        // One pixel, in steps of a sixteenth.
        const int step = int(std::lround(16 * (1 - roughness)));
        options.specular = derived({}, "shine" + std::to_string(step), [&](const std::string& path) {
            libgr::image2d made;
            made.width = made.height = 1;
            made.descriptor = libgr::kinds::rgb8;
            if (!made.allocate()) return false;
            std::fill_n(made.row(0), 3, static_cast<unsigned char>(std::min(255, 16 * step)));
            return libgr::save_as(file_format::png, made, path);
        });
    }
    return options;
}

void made_pictures::name_plainly(pmt3d::model_t& model) const {
    for (pmt3d::model_item_t& item : model.items)
        for (std::string* picture : {&item.texture.texture, &item.texture.bumpmap, &item.texture.specular})
            if (is_made(*picture)) *picture = file_name(file_path(*picture).filename());
}

bool made_pictures::is_made(const std::string& picture) const {
    return !folder_.empty() && !picture.empty() && file_path(picture).parent_path() == folder_;
}

bool made_pictures::keep(pmt3d::model_t& model, const std::string& out) {
    // Standard output has no folder and no name.
    const fs::path target = out == "-" ? file_path(model_file_).filename() : file_path(out);
    std::map<std::string, std::string> names;
    const auto keep_one = [&](std::string& picture) {
        if (!is_made(picture)) return true;
        const fs::path made = file_path(picture);
        const auto [at, added] = names.try_emplace(picture);
        for (int number = 1; added; ++number) {
            fs::path name = target.stem();
            name += "-";
            name += made.stem();
            name += counted(number);
            name += made.extension();
            const fs::path path = target.parent_path() / name;
            std::error_code error;
            at->second = file_name(name);
            if (fs::exists(fs::symlink_status(path, error))) {
                if (same_bytes(made, path)) break;
                continue;
            }
            if (fs::copy_file(made, path, error)) break;
            return libutils::report(file_name(path), ": file write error.");
        }
        picture = at->second;
        return true;
    };
    for (pmt3d::model_item_t& item : model.items)
        for (std::string* picture : {&item.texture.texture, &item.texture.bumpmap, &item.texture.specular})
            if (!keep_one(*picture)) return false;
    return true;
}

} // namespace tool
