#include "libgr/texture/surface_texture.h"

#include "libgr/image/convert.h"
#include "libgr/image/processing.h"
#include "libgr/texture/texture_table.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <cstring>

namespace libgr {

using libutils::report;
using render::texture_unit;

namespace {

using record_ref = std::shared_ptr<texture_record>;

bool has_picture(const texture_record& record) {
    return record.image().width != 0 && record.image().holds_pixels();
}

// The picture of a file, loaded when the table does not have it; null, reported once, when it cannot be
// loaded.
record_ref find_picture(texture_table& table, const std::string& path, const char* failure) {
    const auto [record, added] = table.find_or_add(table_name(path));
    if (added) {
        image2d& image = record->image();
        if (!load_picture(image, path)) {
            image = {};
            report(path, failure);
        }
    }
    return has_picture(*record) ? record : nullptr;
}

// The table's one-pixel picture of that name, made on first use.
record_ref one_pixel(texture_table& table, const char* name, const pixel_descriptor& descriptor,
                     const unsigned char (&pixel)[4], const char* failure) {
    const auto [record, added] = table.find_or_add(name);
    if (added) {
        image2d& image = record->image();
        image.descriptor = descriptor;
        image.width = image.height = 1;
        if (image.allocate()) {
            std::memcpy(image.pixel(0, 0), pixel, components(descriptor.format));
        } else {
            report(failure);
        }
        record->prepare();
    }
    return has_picture(*record) ? record : nullptr;
}

// What the shader takes for a normal, out of the bump picture of a file: derived pictures are entries of
// their own behind the file's, each with one more ending to its name.
record_ref derive_bump(texture_table& table, record_ref record, std::string name, bool bump2mono) {
    if (bump2mono) {
        name += ".mono";
        const auto [mono, added] = table.find_or_add(name);
        // What cannot be turned to grey stays as it is.
        if (added && !rgb2grey(mono->image(), record->image())) mono->image() = record->image();
        record = mono;
    }
    const std::uint32_t format = record->image().descriptor.format;
    if (format == pixel_format::luminance || format == pixel_format::luminance_alpha) {
        const auto [normals, added] = table.find_or_add(name + ".norm");
        if (!added) return normals;
        // The greys are the heights; their alpha does not count.
        image2d heights = record->image();
        if (format == pixel_format::luminance_alpha)
            convert_format(heights, heights, pixel_format::luminance);
        if (!normalmap(normals->image(), heights)) report("heightmap2normalmap failed.");
        return normals;
    }
    if (record->image().descriptor.type == sample_type::unsigned_integer) {
        // The file holds the signed bytes of the normals; only what they are called changes.
        const auto [normals, added] = table.find_or_add(name + ".sint");
        if (added) {
            normals->image() = record->image();
            normals->image().descriptor.type = sample_type::signed_integer;
        }
        return normals;
    }
    return record;
}

void dress(texture_record& record, const texture_options& options) {
    static constexpr render::gl_int filters[] = {filter_nearest, filter_linear, filter_nearest_mipmap_nearest,
                                                 filter_linear_mipmap_linear};
    record.parameters = {.min_filter = filters[options.nearlinear + 2 * options.mipmap],
                         .mag_filter = filters[options.maglinear],
                         .max_anisotropy = options.aniso};
    record.parameters_changed = true;
    record.texture.generate_mipmaps = record.texture.generate_mipmaps || options.mipmap;
    record.prepare();
}

} // namespace

void texture_t::open(const std::string& name) {
    if (!table_) table_ = texture_table::shared();
    texture_table& table = *table_;
    const auto unit = [this](texture_unit which) -> record_ref& { return units_[unsigned(which)]; };
    // Without a picture, which has been reported, the unit stays as it was.
    const auto wear = [&](texture_unit which, const record_ref& record) {
        if (!record) return;
        unit(which) = record;
        dress(*record, *this);
    };
    const auto wear_plain = [&](texture_unit which, const record_ref& record) {
        if (record) unit(which) = record;
    };

    if (texture.empty()) {
        wear_plain(texture_unit::color, one_pixel(table, "default color", kinds::rgba8, {255, 255, 255, 255},
                                                  "(color)texobj.img2d.allocate() failed."));
    } else {
        wear(texture_unit::color,
             find_picture(table, picture_path(name, texture), ": color autoloadformat failed."));
    }
    render::step_check("texture_t::open(5)");

    if (bumpmap.empty()) {
        wear_plain(texture_unit::bump, one_pixel(table, "default bump", kinds::signed_rgb8, {0, 0, 127, 0},
                                                 "(bump)texobj.img2d.allocate() fail."));
    } else {
        const std::string path = picture_path(name, bumpmap);
        if (const record_ref loaded = find_picture(table, path, ": bump autoloadformat failed.")) {
            const record_ref record = derive_bump(table, loaded, table_name(path), bump2mono);
            wear(texture_unit::bump, record);
            const image2d& image = record->image();
            bump_offset_ = {};
            if (bumpofs) bump_offset_ = {-0.5f / float(image.width), -0.5f / float(image.height)};
        }
    }
    render::step_check("texture_t::open(6)");

    if (specular.empty()) {
        // A highlight of half the light, opaque also on a translucent surface.
        wear_plain(texture_unit::specular,
                   one_pixel(table, "default specular", kinds::rgba8, {128, 128, 128, 255},
                             "(spec)texobj.img2d.allocate() failed."));
    } else {
        wear(texture_unit::specular,
             find_picture(table, picture_path(name, specular), ": autoloadformat failed."));
    }
    render::step_check("texture_t::open(7)");
}

bool texture_t::has(texture_unit unit) {
    return units_[unsigned(unit)] != nullptr;
}

void texture_t::bind(texture_unit unit) {
    texture_record& record = *units_[unsigned(unit)];
    record.prepare();
    record.object.Load();
}

void texture_t::unbind(texture_unit unit) {
    units_[unsigned(unit)]->object.unbind();
}

} // namespace libgr
