#pragma once
// The files of the keyboard: a model for every key, the case in which they lie, and the pictures that they
// wear. A piano's natural keys are white and its case is lacquered; a harpsichord's are black, in a case of
// wood.

#include "models/materials.h"

#include <optional>
#include <string>

namespace models {

enum class instrument { piano, harpsichord };

// Writes 0.pmt to 127.pmt, case.pmt and their pictures into a directory, which is made when it is missing.
// name: the picture of the instrument's name, if the case is to bear it. False, after a line on standard
// error, at the first file that cannot be written.
bool write_keyboard(const std::string& directory, const std::optional<picture>& name,
                    instrument which = instrument::piano);

} // namespace models
