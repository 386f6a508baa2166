#pragma once
// Stores each of the surfaces' pictures once, by name, with its GL texture.

#include "libgr/image/image.h"
#include "libgr/texture/parameters.h"
#include "libgr/texture/texture_image.h"
#include "libgr/texture/texture_object.h"

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace libgr {

// A picture of the table and its texture. Surfaces that name one picture share the texture and so its
// filters: those of the surface opened last. Mipmaps are there as soon as one of them asked for them.
struct texture_record {
    texture_record() { texture.images.resize(1); }

    image2d& image() { return texture.images.front(); }
    const image2d& image() const { return texture.images.front(); }
    // Uploads what has not been uploaded and sets changed parameters; with no current context it waits for
    // the next call. Where there was something to do no texture is bound to the target afterwards.
    void prepare();

    grTexture2D texture; // one picture
    grTextureObject object;
    tex_parameter_2d parameters;
    bool parameters_changed = true;
    bool has_mipmaps = false; // in the texture as uploaded
};

// The six faces of an environment and their texture.
struct cube_record {
    cube_record() { texture.images.resize(6); }

    void prepare(); // as above

    grTextureCubeMap texture;
    grTextureObject object;
    tex_parameter_cubemap parameters;
};

// Entries stay as long as the table lives. A file that could not be read keeps an empty picture and is not
// tried again.
class texture_table {
public:
    // The table of the textures and environments that exist at present; a new one when there are none.
    static std::shared_ptr<texture_table> shared();

    struct entry {
        std::shared_ptr<texture_record> record;
        bool added; // it was not there before
    };
    entry find_or_add(const std::string& name);
    // The cube map of that name; null when there is none.
    std::shared_ptr<cube_record> find_cube(const std::string& name) const;
    void add_cube(const std::string& name, std::shared_ptr<cube_record> cube);

    std::size_t size() const { return textures_.size() + cubes_.size(); }

private:
    std::map<std::string, std::shared_ptr<texture_record>> textures_;
    std::map<std::string, std::shared_ptr<cube_record>> cubes_;
};

// The path of a picture that a model file names. An absolute name (beginning with "/", with a drive letter
// and a separator, or with two backslashes) is used unchanged, any other is appended to the directory of the
// model file (what ends in its last separator). Without a model file that is reported with NAME ": base
// filename." and the name is left to the working directory.
std::string picture_path(const std::string& model_file, const std::string& name);

// The name under which the table keeps a picture file: the same for all spellings of its path.
std::string table_name(const std::string& path);

// Loads the picture of a file. Samples of less than 8 bits are widened: neither textures nor normal maps are
// made of them. False, after a line on standard error, when the file cannot be read.
bool load_picture(image2d& image, const std::string& path);

// The file names of the faces of a cube map, from +x to -z: the suffix goes in front of the last dot of the
// file name, or to the end where there is none.
std::array<std::string, 6> face_names(const std::string& path);

} // namespace libgr
