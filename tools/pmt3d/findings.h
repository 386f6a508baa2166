#pragma once
// What is wrong with a model file, collected while it is loaded.

#include "pmt3d/format/load_observer.h"
#include "pmt3d/mirror/open_pictures.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct finding {
    pmt3d::file_place place;
    std::string text; // one line that can be shown on a terminal
};

// Also opens the pictures and finds those that are missing or damaged.
class findings : public pmt3d::load_observer, public pmt3d::picture_opener {
public:
    // Keeps at most so many; the others are only counted.
    explicit findings(std::uint64_t most) : most_(most) {}

    void left_out(const pmt3d::file_place& place, std::string_view text) override;
    void named_picture(std::uint64_t line, std::string_view path) override;
    void begin(const std::string& model_file) override;
    void open_surface(const libgr::texture_options& options) override;
    bool open_environment(const libgr::environment_options& options) override;

    // In the order of the lines.
    std::vector<finding> take();
    std::uint64_t count() const { return count_; }

private:
    std::uint64_t most_, count_ = 0;
    std::vector<finding> kept_;
    pmt3d::open_pictures pictures_;
    std::map<std::string, std::uint64_t, std::less<>> lines_; // where each picture was last named
    std::string model_file_;
};

} // namespace tool
