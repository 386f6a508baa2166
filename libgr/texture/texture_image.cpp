#include "libgr/texture/texture_image.h"

#include "libgr/image/convert.h"
#include "libgr/image/transfer_table.h"
#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>
#include <bit>

namespace libgr {

namespace {

using libutils::report;
using render::step_check;

struct extent {
    GLsizei width = 1, height = 1, depth = 1;
};

extent extent_of(const image1d& image) {
    return {GLsizei(image.width), 1, 1};
}
extent extent_of(const image2d& image) {
    return {GLsizei(image.width), GLsizei(image.height), 1};
}
extent extent_of(const image3d& image) {
    return {GLsizei(image.width), GLsizei(image.height), GLsizei(image.depth)};
}

// The steps that one kind of texture announces; null: not announced.
struct steps {
    const char* unpack = nullptr;
    const char* before_image = nullptr; // outside the mipmap route
    const char* after_image = nullptr;
    const char* before_sub_image = nullptr;
    const char* after_sub_image = nullptr;
    const char* before_mipmaps = nullptr; // around the upload from which the texture builds them
    const char* after_mipmaps = nullptr;
    const char* switched_on = nullptr; // the texture's own building of mipmaps
    const char* switching_off = nullptr;
    const char* switched_off = nullptr;
    const char* after_builder = nullptr;      // the utility library's
    const char* compressed_mipmaps = nullptr; // message, not a step
};

void announce(const char* step) {
    if (step) step_check(step);
}

// ---- The GL's calls by dimension

struct destination {
    int dimensions;
    GLenum target;
};

void tex_image(const destination& to, GLint level, GLenum internal, const extent& size, GLint border,
               const transfer& how, const void* data) {
    switch (to.dimensions) {
    case 1:
        glTexImage1D(to.target, level, GLint(internal), size.width, border, how.format, how.type, data);
        break;
    case 2:
        glTexImage2D(to.target, level, GLint(internal), size.width, size.height, border, how.format, how.type,
                     data);
        break;
    default:
        glTexImage3D(to.target, level, GLint(internal), size.width, size.height, size.depth, border,
                     how.format, how.type, data);
    }
}

void tex_sub_image(const destination& to, GLint level, const extent& size, const transfer& how,
                   const void* data) {
    switch (to.dimensions) {
    case 1:
        glTexSubImage1D(to.target, level, 0, size.width, how.format, how.type, data);
        break;
    case 2:
        glTexSubImage2D(to.target, level, 0, 0, size.width, size.height, how.format, how.type, data);
        break;
    default:
        glTexSubImage3D(to.target, level, 0, 0, 0, size.width, size.height, size.depth, how.format, how.type,
                        data);
    }
}

void compressed_tex_image(const destination& to, GLint level, GLenum internal, const extent& size,
                          GLint border, GLsizei bytes, const void* data) {
    switch (to.dimensions) {
    case 1:
        glCompressedTexImage1D(to.target, level, internal, size.width, border, bytes, data);
        break;
    case 2:
        glCompressedTexImage2D(to.target, level, internal, size.width, size.height, border, bytes, data);
        break;
    default:
        glCompressedTexImage3D(to.target, level, internal, size.width, size.height, size.depth, border, bytes,
                               data);
    }
}

// ---- Pictures as the GL reads them

// Where the table's format has no sign, the negative half of signed samples would be lost.
GLenum stored_format(const pixel_descriptor& descriptor, GLenum listed) {
    if (descriptor.type != sample_type::signed_integer) return listed;
    switch (listed) {
    case GL_RGB8:
        return GL_RGB8_SNORM;
    case GL_RGBA8:
        return GL_RGBA8_SNORM;
    case GL_RGB16:
        return GL_RGB16_SNORM;
    case GL_RGBA16:
        return GL_RGBA16_SNORM;
    default:
        return listed;
    }
}

std::uint64_t rows_of(const image1d& image) {
    return std::uint64_t(image.skip_rows) + 1;
}
std::uint64_t rows_of(const image2d& image) {
    return std::uint64_t(image.skip_rows) + image.height;
}
std::uint64_t rows_of(const image3d& image) {
    return (std::uint64_t(image.skip_rows) + image.height) * image.depth;
}

template <typename Image>
bool has_all_bytes(const Image& image) {
    const std::uint64_t rows = rows_of(image), stride = image.stride();
    const std::uint64_t row =
        ((std::uint64_t(image.skip_pixels) + image.width) * bits_per_pixel(image.descriptor) + 7) / 8;
    if (rows == 0 || image.width == 0) return true;
    return row <= image.pixels.size() && (stride == 0 || rows - 1 <= (image.pixels.size() - row) / stride);
}

// The bits that the GL reads for one pixel; other than the descriptor's own for samples that it cannot read.
std::uint32_t bits_read(const pixel_descriptor& descriptor, const transfer& how) {
    switch (how.type) {
    case GL_BITMAP:
        return 1;
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 8 * components(descriptor.format);
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
    case GL_HALF_FLOAT:
        return 16 * components(descriptor.format);
    case GL_INT:
    case GL_UNSIGNED_INT:
    case GL_FLOAT:
        return 32 * components(descriptor.format);
    default:
        return bits_per_pixel(descriptor); // packed, or a type that the GL refuses
    }
}

// Whether the GL itself has to skip pixels: only where they are parts of a byte. Otherwise the first pixel's
// address is handed over, since Mesa reads from the wrong place when bytes are to be swapped and pixels or
// rows to be skipped.
bool skips_parts_of_bytes(const image_record& image) {
    return bits_per_pixel(image.descriptor) % 8 != 0;
}

template <typename Image>
const unsigned char* first_pixel(const Image& image) {
    const std::uint64_t pixels = skips_parts_of_bytes(image) ? 0 : image.skip_pixels;
    return image.pixels.data() + image.skip_rows * image.stride() +
           pixels * bits_per_pixel(image.descriptor) / 8;
}

void apply_pixel_store(const image_record& image) {
    glPixelStorei(GL_UNPACK_SWAP_BYTES, image.store && image.store->swap_bytes ? GL_TRUE : GL_FALSE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, image.store ? GLint(image.store->alignment) : 4);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(image.row_length));
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, skips_parts_of_bytes(image) ? GLint(image.skip_pixels) : 0);
    glPixelStorei(GL_UNPACK_IMAGE_HEIGHT, 0);
}

void apply_pixel_store(const image3d& image) {
    apply_pixel_store(static_cast<const image_record&>(image));
    glPixelStorei(GL_UNPACK_IMAGE_HEIGHT, GLint(image.skip_rows + image.height));
}

// While it lives, pictures of colour numbers go through their table, and the pixel store may be changed.
class transfer_state {
public:
    explicit transfer_state(const image_record& first) {
        const color_table& colors = first.colors;
        if (first.descriptor.format != pixel_format::color_index || colors.count == 0) return;
        mapping_ = true;
        glPixelTransferi(GL_MAP_COLOR, GL_TRUE);
        load(GL_PIXEL_MAP_I_TO_R, colors.red, colors.count);
        load(GL_PIXEL_MAP_I_TO_G, colors.green, colors.count);
        load(GL_PIXEL_MAP_I_TO_B, colors.blue, colors.count);
    }
    ~transfer_state() {
        if (mapping_) glPixelTransferi(GL_MAP_COLOR, GL_FALSE);
        apply_pixel_store(image1d{}); // the GL's own state
    }
    transfer_state(const transfer_state&) = delete;
    transfer_state& operator=(const transfer_state&) = delete;

private:
    // The GL takes maps of a power of two only.
    static void load(GLenum map, const color_table::channel& channel, std::uint64_t count) {
        GLint most = 0;
        glGetIntegerv(GL_MAX_PIXEL_MAP_TABLE, &most);
        std::vector<GLushort> values(std::min(std::bit_ceil(count), std::uint64_t(most)));
        std::copy_n(channel.data(), std::min(count, std::uint64_t(values.size())), values.begin());
        glPixelMapusv(map, GLsizei(values.size()), values.data());
    }

    bool mapping_ = false;
};

// ---- One upload of one kind of texture

class uploader {
public:
    uploader(const destination& to, const grTexturableImageGL& choices, const steps& labels)
        : to_(to),
          choices_(choices),
          labels_(labels) {}

    // A picture as a level of its own.
    template <typename Image>
    void level(const Image& image, GLint number) const {
        transfer how;
        Image widened;
        const Image* source = readable(image, widened, how, false);
        if (source) put(*source, number, how, false);
    }

    // A picture as level 0, and the smaller levels from it.
    template <typename Image>
    void mipmaps(const Image& image, GLenum parameter_target) const {
        transfer how;
        Image widened;
        const Image* source = readable(image, widened, how, choices_.compress);
        if (!source) return;
        if (GLEW_SGIS_generate_mipmap && builds_itself(how.internal_format)) {
            glTexParameteri(parameter_target, GL_GENERATE_MIPMAP, GL_TRUE);
            announce(labels_.switched_on);
            announce(labels_.before_mipmaps);
            put(*source, 0, how, true);
            announce(labels_.after_mipmaps);
            announce(labels_.switching_off);
            glTexParameteri(parameter_target, GL_GENERATE_MIPMAP, GL_FALSE);
            announce(labels_.switched_off);
        } else if (source->compressed) {
            if (labels_.compressed_mipmaps) report(labels_.compressed_mipmaps);
            put(*source, 0, how, true);
        } else {
            apply_pixel_store(*source);
            announce(labels_.unpack);
            build(*source, how, parameter_target);
            announce(labels_.after_builder);
        }
    }

    // A picture over the storage of a level that has its size.
    void replace(const image2d& image, GLint number) const {
        transfer how;
        image2d widened;
        const bool first_of_mipmaps = choices_.generate_mipmaps && number == 0;
        const image2d* source = readable(image, widened, how, first_of_mipmaps && choices_.compress);
        if (!source) return;
        const bool by_itself = GLEW_SGIS_generate_mipmap && builds_itself(how.internal_format);
        if (source->compressed || (first_of_mipmaps && !by_itself)) {
            // Compressed storage cannot be written over, and the utility library may have changed the size.
            if (first_of_mipmaps) {
                mipmaps(image, to_.target);
            } else {
                level(image, number);
            }
            return;
        }
        if (first_of_mipmaps) glTexParameteri(to_.target, GL_GENERATE_MIPMAP, GL_TRUE);
        apply_pixel_store(*source);
        announce(labels_.before_sub_image);
        tex_sub_image(to_, number, extent_of(*source), how, first_pixel(*source));
        announce(labels_.after_sub_image);
        if (first_of_mipmaps) glTexParameteri(to_.target, GL_GENERATE_MIPMAP, GL_FALSE);
    }

private:
    static bool builds_itself(GLenum internal) {
        switch (internal) {
        case GL_RGB:
        case GL_RGBA:
        case GL_RGB5:
        case GL_RGB8:
        case GL_RGBA8:
        case GL_BGR:
        case GL_BGRA:
            return true;
        default:
            return false;
        }
    }

    // The picture itself or, where the GL cannot read its samples, a copy that it can; null when there is
    // none.
    template <typename Image>
    static const Image* readable(const Image& image, Image& widened, transfer& how, bool compress) {
        if (!find_transfer(image.descriptor, how, compress)) return nullptr;
        if (image.compressed) return &image;
        const Image* source = &image;
        if (bits_read(image.descriptor, how) != bits_per_pixel(image.descriptor)) {
            if (!widen(image, widened) || !find_transfer(widened.descriptor, how, compress)) return nullptr;
            source = &widened;
        }
        if (has_all_bytes(*source)) return source;
        report("error, image has fewer bytes than its size needs, skip.");
        return nullptr;
    }

    template <typename Image>
    static bool widen([[maybe_unused]] const Image& image, [[maybe_unused]] Image& widened) {
        if constexpr (std::is_same_v<Image, image2d>) {
            if (image.holds_pixels() && convert_bits(widened, image, bits_class::bits_8)) return true;
        }
        report("error, image samples are of a width that OpenGL does not read, skip.");
        return false;
    }

    template <typename Image>
    void put(const Image& image, GLint level, const transfer& how, bool mipmap_route) const {
        apply_pixel_store(image);
        announce(labels_.unpack);
        const extent size = extent_of(image);
        const GLenum internal = stored_format(image.descriptor, how.internal_format);
        if (image.compressed) {
            if (!GLEW_ARB_texture_compression) {
                report("error, ARB_texture_compression unsupported when compressed image loading, skip.");
                return;
            }
            const std::uint64_t bytes =
                std::min(image.stride() * rows_of(image), std::uint64_t(image.pixels.size()));
            compressed_tex_image(to_, level, internal, size, choices_.border, GLsizei(bytes),
                                 image.pixels.data());
        } else if (choices_.allocation_width != 0) {
            tex_image(to_, level, internal, allocated(size, mipmap_route), choices_.border, how, nullptr);
            announce(labels_.before_sub_image);
            tex_sub_image(to_, level, size, how, first_pixel(image));
            announce(labels_.after_sub_image);
        } else {
            if (!mipmap_route) announce(labels_.before_image);
            tex_image(to_, level, internal, size, choices_.border, how, first_pixel(image));
            if (!mipmap_route) announce(labels_.after_image);
        }
    }

    // The size of a level that is made empty first.
    extent allocated(const extent& size, bool mipmap_route) const {
        const GLsizei width = std::max(GLsizei(choices_.allocation_width), size.width);
        if (!mipmap_route) return {width, size.height, size.depth};
        const auto padded = [&](GLsizei length) {
            return GLsizei(std::bit_ceil(std::uint32_t(length))) + 2 * choices_.border;
        };
        return {padded(width), to_.dimensions > 1 ? padded(size.height) : 1,
                to_.dimensions > 2 ? padded(size.depth) : 1};
    }

    template <typename Image>
    void build(const Image& image, const transfer& how, GLenum parameter_target) const {
        const extent size = extent_of(image);
        const GLint internal = GLint(stored_format(image.descriptor, how.internal_format));
        // The utility library has no builder for three dimensions, and knows no half floats.
        GLint failed = GLU_INVALID_ENUM;
        if (to_.dimensions == 1)
            failed =
                gluBuild1DMipmaps(to_.target, internal, size.width, how.format, how.type, first_pixel(image));
        else if (to_.dimensions == 2)
            failed = gluBuild2DMipmaps(to_.target, internal, size.width, size.height, how.format, how.type,
                                       first_pixel(image));
        if (failed) build_without_utilities(image, how, parameter_target, failed);
    }

    // The texture is complete afterwards, if need be without smaller levels.
    template <typename Image>
    void build_without_utilities(const Image& image, const transfer& how, GLenum parameter_target,
                                 GLint reason) const {
        put(image, 0, how, true);
        announce(labels_.after_image);
        GLint width = 0;
        glGetTexLevelParameteriv(to_.target, 0, GL_TEXTURE_WIDTH, &width);
        if (width == 0) {
            report("error, mipmaps cannot be built: ", gluErrorString(GLenum(reason)), ".");
        } else if (!glGenerateMipmap) {
            glTexParameteri(parameter_target, GL_TEXTURE_MAX_LEVEL, 0);
        } else if (to_.target == parameter_target || to_.target == GL_TEXTURE_CUBE_MAP_NEGATIVE_Z) {
            glGenerateMipmap(parameter_target); // of a cube map with its last face
        }
    }

    destination to_;
    const grTexturableImageGL& choices_;
    const steps& labels_;
};

template <typename Image>
void upload_levels(const destination& to, const grTexturableImageGL& choices,
                   const std::vector<Image>& images, const steps& labels) {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    const uploader upload(to, choices, labels);
    std::size_t next = 0;
    if (choices.generate_mipmaps) upload.mipmaps(images[next++], to.target);
    for (; next < images.size(); ++next)
        upload.level(images[next], GLint(next));
}

template <typename Image>
render::gl_enum first_internal_format(const std::vector<Image>& images, bool compress) {
    transfer how;
    if (images.empty() || !find_transfer(images.front().descriptor, how, compress)) return render::no_object;
    return stored_format(images.front().descriptor, how.internal_format);
}

constexpr const char* compressed_2d =
    "Compressed 'special format' image is ablen't to build mipmaps, fallback.";
constexpr const char* compressed_3d = "Compressed image are can't build mipmaps in this environment.";

constexpr steps steps_2d = {.before_image = "before-teximage2d(not-mipmap)",
                            .after_image = "after-teximage2d(not-mipmap)",
                            .before_sub_image = "before-tex-sub-image2d",
                            .after_sub_image = "after-tex-sub-image2d",
                            .compressed_mipmaps = compressed_2d};

constexpr steps steps_cube = {.unpack = "after-unpack_window_subset",
                              .before_mipmaps = "before-generate_mipmap",
                              .after_mipmaps = "after-generate_mipmap",
                              .switched_on = "after-texparameter_cubemap-sgis-true",
                              .switching_off = "before-texparameter_cubemap-sgis-false",
                              .switched_off = "after-texparameter_cubemap-sgis-false",
                              .after_builder = "after-gluBuild2DMipmaps"};

// The picture, or a smaller one where it is larger than the GL's largest texture.
image2d fitted(const image2d& image, const grTexture2D& choices) {
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    const std::uint32_t real_max = std::uint32_t(most), longer = std::max(image.width, image.height);
    transfer how;
    if (longer <= real_max || image.compressed || !has_all_bytes(image) ||
        !find_transfer(image.descriptor, how) ||
        bits_read(image.descriptor, how) != bits_per_pixel(image.descriptor)) {
        return image;
    }
    image2d smaller;
    smaller.descriptor = image.descriptor;
    const auto scaled = [&](std::uint32_t length) {
        return std::max(std::uint32_t(std::uint64_t(length) * real_max / longer), 1u);
    };
    smaller.width = scaled(image.width);
    smaller.height = scaled(image.height);
    report("real_max: ", real_max, "\nm_width: ", smaller.width, "\nm_height: ", smaller.height,
           "\ninternalformat: ", how.internal_format, "\nm_border: ", unsigned(choices.border),
           "\nformat: ", how.format, "\ntype: ", how.type);
    if (!smaller.allocate()) return image;
    apply_pixel_store(image);
    const GLint failed =
        gluScaleImage(how.format, GLsizei(image.width), GLsizei(image.height), how.type, first_pixel(image),
                      GLsizei(smaller.width), GLsizei(smaller.height), how.type, smaller.pixels.data());
    apply_pixel_store(smaller);
    return failed ? image : smaller;
}

std::vector<image2d> fitted(const grTexture2D& choices) {
    std::vector<image2d> all;
    all.reserve(choices.images.size());
    for (const image2d& image : choices.images)
        all.push_back(fitted(image, choices));
    return all;
}

} // namespace

void grTexture1D::upload() {
    upload_levels({1, GL_TEXTURE_1D}, *this, images, {});
}
void grTexture1D::reupload() {
    upload();
}
render::gl_enum grTexture1D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTexture2D::upload() {
    if (render::has_context()) upload_levels({2, GL_TEXTURE_2D}, *this, fitted(*this), steps_2d);
}

void grTexture2D::reupload() {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    const uploader upload({2, GL_TEXTURE_2D}, *this, steps_2d);
    GLint level = 0;
    for (const image2d& image : fitted(*this))
        upload.replace(image, level++);
}
render::gl_enum grTexture2D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTexture3D::upload() {
    upload_levels({3, GL_TEXTURE_3D}, *this, images, {.compressed_mipmaps = compressed_3d});
}
void grTexture3D::reupload() {
    upload();
}
render::gl_enum grTexture3D::internal_format() const {
    return first_internal_format(images, compress);
}

void grTextureCubeMap::upload() {
    if (images.empty() || !render::has_context()) return;
    const transfer_state state(images.front());
    GLenum face = GL_TEXTURE_CUBE_MAP_POSITIVE_X;
    for (const image2d& image : images) {
        if (face > GL_TEXTURE_CUBE_MAP_NEGATIVE_Z) break;
        const uploader upload({2, face++}, *this, steps_cube);
        if (generate_mipmaps) {
            upload.mipmaps(image, GL_TEXTURE_CUBE_MAP);
        } else {
            upload.level(image, 0);
        }
    }
}
void grTextureCubeMap::reupload() {
    upload();
}
render::gl_enum grTextureCubeMap::internal_format() const {
    return first_internal_format(images, compress);
}

void grTextureRectangle::upload() {
    upload_levels({2, GL_TEXTURE_2D}, *this, images, {});
}
void grTextureRectangle::reupload() {
    upload();
}
render::gl_enum grTextureRectangle::internal_format() const {
    return first_internal_format(images, compress);
}

} // namespace libgr
