#pragma once
// The pictures of one texture, and their upload.
//
// An upload goes into the texture that is bound to the target of the kind; with no current context it does
// nothing. Pictures that the GL cannot take are skipped, after a line on standard error; GL errors are
// reported by step checks. For all kinds:
// - Picture i is mipmap level i, uploaded at its own size.
// - With generate_mipmaps the first picture is level 0, and the smaller levels are built from it. Further
//   pictures then replace their levels. The texture itself builds them where GL_SGIS_generate_mipmap is there
//   and the internal format is a plain RGB or RGBA one; else the GL utility library, which first scales the
//   picture to powers of two; else, for half floats, the GL (glGenerateMipmap).
// - With an allocation width the level is allocated empty and filled by a sub-image. Outside the mipmap route
//   it has that width (never less than the picture's own) and the picture's other sizes, on the mipmap route
//   the smallest powers of two not below these, plus twice the border.
// - Pictures of colour numbers are sent through their colour table.
// - Two-dimensional pictures and faces with samples of 4 bits are widened first. Other samples that the GL
//   cannot read are skipped.
// - A compressed picture is uploaded as it is, if the GL supports compressed textures.

#include "libgr/image/image.h"
#include "libgr/texture/texturable.h"

#include <vector>

namespace libgr {

class grTexture1D final : public grTexturableImageGL {
public:
    std::vector<image1d> images; // level by level

    std::uint32_t kind() const override { return texture_kind::one_dimensional; }
    void upload() override;
    void reupload() override;
    render::gl_enum internal_format() const override;
};

// A picture larger than the GL's largest texture is scaled down to fit, keeping its proportions, after lines
// on standard error that tell the sizes and formats.
class grTexture2D final : public grTexturableImageGL {
public:
    std::vector<image2d> images; // level by level

    std::uint32_t kind() const override { return texture_kind::two_dimensional; }
    void upload() override;
    // Writes into the storage that upload() made: the pictures must have the sizes that they had then.
    void reupload() override;
    render::gl_enum internal_format() const override;
};

// Slices from front to back are those of the picture. Where the texture itself does not build the mipmaps,
// the GL does (glGenerateMipmap, OpenGL 3.0).
class grTexture3D final : public grTexturableImageGL {
public:
    std::vector<image3d> images; // level by level

    std::uint32_t kind() const override { return texture_kind::three_dimensional; }
    void upload() override;
    void reupload() override;
    render::gl_enum internal_format() const override;
};

// The faces in the GL's order: +x, -x, +y, -y, +z, -z, each as seen from the inside with its first row at the
// top of the face as the GL counts it. Pictures beyond the sixth are ignored.
class grTextureCubeMap final : public grTexturableImageGL {
public:
    std::vector<image2d> images;

    std::uint32_t kind() const override { return texture_kind::cube_map; }
    void upload() override;
    void reupload() override;
    render::gl_enum internal_format() const override;
};

// A picture of any size, for the screen rather than for a surface. Binds as an ordinary two-dimensional
// texture, with coordinates from 0 to 1.
class grTextureRectangle final : public grTexturableImageGL {
public:
    std::vector<image2d> images; // level by level

    std::uint32_t kind() const override { return texture_kind::two_dimensional; }
    void upload() override;
    // Makes the storage anew, so that the pictures may have changed their sizes.
    void reupload() override;
    render::gl_enum internal_format() const override;
};

} // namespace libgr
