#pragma once
// Counts what a load tells its observer, and reads all of it.

#include "fuzz/target.h"
#include "pmt3d/format/load_observer.h"

namespace fuzz {

struct told : pmt3d::load_observer {
    void left_out(const pmt3d::file_place&, std::string_view text) override {
        demand(!text.empty() && text.find('\n') == text.npos, "what is left out is told in one line");
        ++count;
    }
    void named_picture(std::uint64_t line, std::string_view path) override {
        demand(line > 0 && !path.empty(), "pictures have a line and a name");
    }
    std::uint64_t count = 0;
};

} // namespace fuzz
