// pmt3d check FILE...: says what the readers leave out of model files.

#include "findings.h"
#include "json.h"
#include "model_file.h"
#include "subcommand.h"

#include <iostream>
#include <string>

namespace tool {

namespace {

constexpr option options[] = {
    from_option,
    {"--json", "", "print the problems as JSON"},
    {"--most", "N", "list at most N problems of each file (1000)"},
};

// Lists them as they come or, with a writer, as JSON.
class problem_list {
public:
    explicit problem_list(bool json) : json_(json) {
        if (!json_) return;
        out_.begin_object();
        out_.key("files").begin_array();
    }

    void add(const std::string& name, bool loaded, std::uint64_t count, const std::vector<finding>& kept) {
        ++files_;
        problems_ += count;
        if (json_)
            write_file(name, loaded, count, kept);
        else
            print_file(name, count, kept);
    }

    void end() {
        const auto plural = [](std::uint64_t n, const std::string& what) {
            return std::to_string(n) + ' ' + what + (n == 1 ? "" : "s");
        };
        if (json_) {
            out_.end_array();
            out_.key("problems").integer(problems_);
            out_.end_object();
            out_.finish();
        } else
            std::cout << plural(files_, "file") << ", "
                      << (problems_ ? plural(problems_, "problem") : "no problem") << ".\n";
    }
    std::uint64_t problems() const { return problems_; }

private:
    static void print_file(const std::string& name, std::uint64_t count, const std::vector<finding>& kept) {
        for (const finding& f : kept) {
            std::cout << name << ':';
            if (f.place.line) std::cout << f.place.line << ':';
            if (f.place.byte) std::cout << " byte " << f.place.byte << ':';
            if (f.place.triangle) std::cout << " triangle " << f.place.triangle << ':';
            std::cout << ' ' << f.text << '\n';
        }
        if (count > kept.size())
            std::cout << name << ": " << count - kept.size() << " more are not listed (--most).\n";
    }

    void write_file(const std::string& name, bool loaded, std::uint64_t count,
                    const std::vector<finding>& kept) {
        out_.begin_object();
        out_.key("file").string(name);
        out_.key("loaded").boolean(loaded);
        out_.key("problems").begin_array();
        for (const finding& f : kept) {
            out_.begin_object();
            if (f.place.line) out_.key("line").integer(f.place.line);
            if (f.place.byte) out_.key("byte").integer(f.place.byte);
            if (f.place.triangle) out_.key("triangle").integer(f.place.triangle);
            out_.key("text").string(f.text);
            out_.end_object();
        }
        out_.end_array();
        out_.key("not_listed").integer(count - kept.size());
        out_.end_object();
    }

    bool json_;
    json_writer out_{std::cout};
    std::uint64_t files_ = 0, problems_ = 0;
};

int run(const command_line& line) {
    if (line.operands.empty()) return usage_error(check, "at least one FILE is needed.");
    std::uint64_t most = 1000;
    if (const char* const text = line.value("--most")) {
        const std::optional<std::uint64_t> number = whole_number(text);
        if (!number) return usage_error(check, "--most takes a whole number.");
        most = *number;
    }
    problem_list list(line.has("--json"));
    for (const char* name : line.operands) {
        model_file file(line);
        findings found(most);
        file.observer = &found;
        file.opener = &found;
        const bool loaded = file.load(name);
        if (!loaded && found.count() == 0) found.left_out({}, "not loaded.");
        const std::uint64_t count = found.count();
        list.add(name, loaded, count, found.take());
    }
    list.end();
    return list.problems() ? failure : success;
}

} // namespace

const subcommand check = {
    "check",
    "FILE...",
    "say what is left out of model files, and where",
    options,
    R"(Prints a line FILE:LINE: TEXT for everything that a reader of the file leaves
out or that is not there: unknown commands, expressions that end early, values
that are missing or are no numbers, elements beyond the vertices, counts that
differ from what was announced, blocks cut before their end, and pictures that
cannot be loaded. Problems of a binary STL file have a byte and a triangle, from
1, instead of a line. The last line is a summary.

The exit status is 1 when there is a problem. With --json one object is printed:
its "files" have "file", "loaded", "problems" (each with "text" and, where
known, "line", "byte" and "triangle") and "not_listed", a count; "problems" is
the number of all. Needs no display.
)",
    run,
};

} // namespace tool
