#pragma once
// The instrument's name, as it is inlaid in brass.

#include "models/materials.h"

#include <optional>
#include <string>

namespace models {

// A picture of the name with 4 channels, the last being what of it is brass; set in a font file. Nothing,
// after a line on standard error, when the font cannot be read.
std::optional<picture> make_name(const std::string& font);

} // namespace models
