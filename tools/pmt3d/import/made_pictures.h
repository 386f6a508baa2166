#pragma once
// The pictures of imported models, as our surfaces want them.

#include "libgr/options/options.h"
#include "pmt3d/format/load_observer.h"
#include "pmt3d/format/model.h"
#include "tools/pmt3d/import/look.h"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace tool {

// What is left out of a file: to an observer, or else in a line on standard error. Returns false.
bool say(pmt3d::load_observer* observer, const std::string& file, const std::string& text);

// Pictures that a file holds, and those that have to be changed, are made in a folder that goes with this
// object; a surface names them by their full path until keep() gives them a place.
class made_pictures {
public:
    made_pictures() = default;
    ~made_pictures();
    made_pictures(const made_pictures&) = delete;
    made_pictures& operator=(const made_pictures&) = delete;

    // Starts with a model file, from whose folder relative names start.
    void begin(const std::string& model_file, pmt3d::load_observer* observer = nullptr);
    // Picture `number` of the file.
    void add(std::uint64_t number, const std::string& name, std::string_view bytes);
    // The pictures of a surface: the colours and specular colours as they are, normal maps as signed bytes,
    // roughness as its opposite, a specular colour. What cannot be had is reported, once, and left out.
    libgr::texture_options options_for(const look& dress);

    // Moves the made pictures that the model names beside a model file, and names them there: OUT-NAME.png.
    // A file of that name with other contents stays, and a number is added. False, after one line, when a
    // picture cannot be written.
    bool keep(pmt3d::model_t& model, const std::string& out);
    // Names the made pictures in the model without the folder, which nobody will find.
    void name_plainly(pmt3d::model_t& model) const;

private:
    struct source {
        std::string path;      // empty: there is none
        std::string name;      // as a surface names it
        bool as_it_is = false; // our readers take it under its name
    };
    const source& find(const std::string& name);
    source look_for(const std::string& name);
    void leave_out(const std::string& name, const std::string& why);
    // The name under which surfaces have the picture; empty when they cannot.
    std::string plain(const std::string& name);
    // A picture made of another, or of none, once for each purpose, such as "normals": `make` writes it to a
    // path and returns whether it could.
    template <class Make>
    std::string derived(const std::string& name, const std::string& purpose, Make&& make);
    bool is_made(const std::string& picture) const;
    std::string new_file(const std::string& label, const std::string& ending);
    bool have_folder();

    std::string model_file_;
    pmt3d::load_observer* observer_ = nullptr;
    std::filesystem::path folder_; // empty: nothing has been made yet
    std::map<std::uint64_t, std::filesystem::path> embedded_;
    std::map<std::string, source> sources_;
    std::map<std::pair<std::string, std::string>, std::string> derived_; // by name and purpose
    std::set<std::string> reported_;
};

} // namespace tool
