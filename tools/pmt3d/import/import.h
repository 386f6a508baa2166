#pragma once
// Reads the model formats of other programs: glTF, OBJ, PLY, 3MF, Collada, FBX, OFF.
//
// They are parsed by Assimp, in a process of its own with limits on memory and time: a damaged file may end
// that process, but not this one. What comes back is checked like the bytes of a file.

#include "pmt3d/format/load_context.h"
#include "pmt3d/format/model.h"
#include "tools/pmt3d/import/made_pictures.h"

#include <cstddef>
#include <string>

namespace tool {

enum class import_end {
    done,
    refused,      // by Assimp, by its limits, or for want of triangles
    reader_broke, // Assimp's process ended while it read the file
    we_broke,     // and this is how our own part of that process would show
};

// Appends the file's surfaces to the model: one for each mesh of each node, its node's transform applied; of
// a file with more than `most_surfaces` those that look alike become one. Normals that are missing are made
// smooth across edges of up to 30 degrees. Pictures that the file holds, and those that must be changed to be
// ours, are made in the folder of `pictures`; the others keep their names.
//
// Says in one line each, on standard error or to the context's observer, what is left out (pictures,
// triangles with corners that are no numbers) and, when nothing is loaded, why.
import_end import_model(pmt3d::model_t& model, const std::string& name, made_pictures& pictures,
                        const pmt3d::load_context& context);
inline constexpr std::size_t most_surfaces = 256;

} // namespace tool
