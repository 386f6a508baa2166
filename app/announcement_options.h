#pragma once
// What the window is to say.

#include <cstdint>

namespace quenvarel {

enum class label_choice : std::uint8_t { typed, notes, off };

struct announcement_options {
    label_choice labels = label_choice::typed; // on the keys
    bool state = true;                         // the line, and the instrument in the title
};

} // namespace quenvarel
