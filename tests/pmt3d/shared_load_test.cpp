// A file is the same, and so is all that is said of it, however many threads have read it.

#include "libutils/parallel.h"
#include "pmt3d/format/dispatch.h"

#include <cmath>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct listener : pmt3d::load_observer {
    void left_out(const pmt3d::file_place& p, std::string_view text) override {
        said << p.line << ' ' << p.byte << ' ' << p.triangle << ": " << text << '\n';
    }
    void named_picture(std::uint64_t line, std::string_view path) override {
        said << line << " = " << path << '\n';
    }
    std::ostringstream said;
};

template <class Record>
void append(std::string& to, std::span<const Record> records) {
    to.append(reinterpret_cast<const char*>(records.data()), records.size_bytes()) += '|';
}

// All that a load gives and says.
std::string loaded(pmt3d::file_format format, std::string_view file, bool observed, unsigned threads,
                   std::uint64_t piece) {
    const libutils::fixed_sharing fixed({threads, piece});
    pmt3d::model_t model;
    std::ostringstream error;
    listener observer;
    const bool done = pmt3d::load_as(model, format, "x", file,
                                     {.error = error, .observer = observed ? &observer : nullptr});
    std::string all = std::to_string(done) + '\n' + error.str() + '\n' + observer.said.str() + '\n';
    for (const pmt3d::model_item_t& item : model.items) {
        append(all, item.polygon.vertices());
        append(all, item.polygon.normals());
        append(all, item.polygon.getelements());
        all += item.texture.texture + std::to_string(item.polygon.polyid(7).start) + '|';
    }
    return all;
}

void expect_the_same(pmt3d::file_format format, const std::string& file, const std::string& what) {
    for (const bool observed : {false, true}) {
        const std::string alone = loaded(format, file, observed, 1, 1 << 20);
        for (const unsigned threads : {2u, 3u, 7u})
            for (const std::uint64_t piece : {150u, 1000u})
                ASSERT_TRUE(loaded(format, file, observed, threads, piece) == alone)
                    << what << ", " << threads << " threads, pieces of " << piece << ":\n"
                    << file;
    }
}

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1))
        lines.emplace_back(text.substr(0, end + 1));
    return lines;
}

// The file as it is, then with each of its lines in turn left out, cut, or replaced by one of these.
void expect_the_same_with_faults(pmt3d::file_format format, const std::string& file,
                                 std::vector<std::string> faults, std::size_t step) {
    expect_the_same(format, file, "as it is");
#if defined(__SANITIZE_THREAD__) || defined(_WIN32)
    step *= 16; // slow there, and what threads may do wrong they do in any of these
#endif
    const std::vector<std::string> lines = lines_of(file);
    faults.insert(faults.end(), {"", "junk\n", "\xEF\xBB\xBF\n", "# " + std::string(400, 'x') + "\n"});
    std::string before;
    std::size_t behind = 0, turn = 0;
    for (const std::string& line : lines) {
        behind += line.size();
        for (const std::string& fault : faults)
            if (turn++ % step == 0)
                expect_the_same(format, before + fault + file.substr(behind), "line replaced by " + fault);
        if (turn++ % step == 0) expect_the_same(format, before + line.substr(0, line.size() / 2), "cut");
        before += line;
    }
}

TEST(shared_load, stl_text) {
    std::ostringstream text;
    text << "solid x\n";
    for (int f = 0; f < 30; ++f) {
        text << (f % 7 == 3 ? "facet normal 0 0 1\n outer loop \n"
                            : "  facet normal 0 0 1\r\n    outer loop\r\n");
        for (int v = 0; v < 3; ++v)
            text << "vertex " << f + v * v << ' ' << -0.25 * f << ' ' << 1e-3 * v << (f % 5 ? "\r\n" : "\n");
        text << (f % 3 ? "  endloop\n  endfacet\n" : "endloop\r\nendfacet\r\n");
        if (f % 11 == 10) text << "endsolid x\nsolid y\n";
    }
    text << "endsolid y\n";
    expect_the_same_with_faults(pmt3d::file_format::stl, text.str(),
                                {"facet normal 1 1 1\n", "facet normal \n", "outer loop\n", "vertex 1 2\n",
                                 "vertex nan 2 3\n", "vertex +1 2 3 4\n", "endsolid\n"},
                                3);
}

TEST(shared_load, stl_binary) {
    for (const unsigned count : {0u, 1u, 3u, 4u, 40u, 41u}) {
        std::string file(80, 'h');
        file.append({char(count), 0, 0, 0});
        for (unsigned i = 0; i < 12 * count; ++i) {
            const float value = i % 91 == 90 ? NAN : float(i * i % 97);
            file.append(reinterpret_cast<const char*>(&value), sizeof value);
            if (i % 12 == 11) file += "ab";
        }
        expect_the_same(pmt3d::file_format::stl, file, "as it is");
        expect_the_same(pmt3d::file_format::stl, file + "more", "more");
        file.pop_back();
        expect_the_same(pmt3d::file_format::stl, file, "cut");
    }
}

TEST(shared_load, model_text) {
    std::ostringstream text;
    for (const char* picture : {"a.png", "b.png"}) {
        text << "begin polygon_surface,24,40\nrefractfactor 0\r\n";
        for (int v = 0; v < 24; ++v) {
            if (v % 5 == 0) text << "color " << v << ",2,3," << 255 - v << "\r\n";
            if (v % 3 != 1) text << "texcoord 0." << v << ",1\n";
            text << "position " << v << ",-0,1e-" << v << (v % 2 ? "\r\n" : "\n");
        }
        text << "texture " << picture << '\n';
        for (int e = 0; e < 40; ++e)
            text << "element " << (e % 6 == 5 ? -1 : e % 24) << "\r\n";
        for (int v = 0; v < 24; ++v)
            text << "tangent -0," << v << ",1\r\nbinormal .5,0,1\nnormal 0,0," << v % 4 << '\n';
        text << "end\n\r\n";
    }
    expect_the_same_with_faults(pmt3d::file_format::text, text.str(),
                                {"end\n", "color 1,2\n", "color 0x10,300,-1,010 \n", "fcolor 1,0,0,1\n",
                                 "texcoord 1/2,(3\n", "texcoord\n", "position 1,2,3,4\n",
                                 "position 1e39,0,-.5\n", "circle 1,90,2\n", "element 24\n", "element x\n",
                                 "element 1\nelement 2\n", "normal 1,nan,0\n", "tangent 1 2 3\n",
                                 "begin polygon_surface,1,1\n"},
                                7);
}

} // namespace
