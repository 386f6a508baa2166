#include "tools/pmt3d/import/import.h"

namespace tool {

import_end import_model(pmt3d::model_t&, const std::string& name, made_pictures&,
                        const pmt3d::load_context& context) {
    say(context.observer, name, "not loaded: this program was built without Assimp, which reads such files.");
    return import_end::refused;
}

} // namespace tool
