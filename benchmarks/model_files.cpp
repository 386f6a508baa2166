// Model files of 500 000 triangles: loading and saving against the readers and writers of others.

#include "goals.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/format/stl.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>
#include <tiny_obj_loader.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t side = 501; // vertices: 500 by 500 squares

[[noreturn]] void fail(const char* what) {
    std::cerr << what << '\n';
    std::exit(1);
}

// A wavy square, its frames included, and files of it in all formats.
class sample {
public:
    sample() {
        std::string folder = (std::filesystem::temp_directory_path() / "quenvarel-bench-XXXXXX").string();
        if (!mkdtemp(folder.data())) fail("no temporary directory");
        folder_ = folder;
        pmt3d::polygon_t& polygon = items.emplace_back().polygon;
        polygon.allocate(side * side, (side - 1) * (2 * side + 1));
        for (std::uint32_t j = 0; j < side; ++j) {
            for (std::uint32_t i = 0; i < side; ++i) {
                const float u = float(i) / (side - 1), v = float(j) / (side - 1);
                polygon.edit_vertices()[j * side + i] = {
                    {10 * u, std::sin(9 * u) * std::cos(7 * v), 10 * v}, {u, v, 0.5f, 1}, {u, v}};
                polygon.edit_normals()[j * side + i] = {{std::cos(u), std::sin(u), 0}, {0, u, v}, {-v, 1, u}};
            }
        }
        pmt3d::element_t* element = polygon.edit_elements().data();
        for (std::uint32_t j = 1; j < side; ++j, *element++ = pmt3d::strip_end)
            for (std::uint32_t i = 0; i < side; ++i)
                for (const std::uint32_t row : {j, j - 1})
                    *element++ = row * side + i;
        polygon.rebuildpolyids();
        if (!pmt3d::save_stl(items, file("binary.stl")) || !pmt3d::save_stl_text(items, file("text.stl")) ||
            !pmt3d::save_text(items, file("model.pmt")))
            fail("the files could not be made");
        write_obj();
    }
    ~sample() { std::filesystem::remove_all(folder_); }

    std::string file(const char* name) const { return (folder_ / name).string(); }
    pmt3d::surface_list items;

private:
    void write_obj() const {
        const pmt3d::polygon_t& polygon = items.front().polygon;
        std::ofstream out(file("model.obj"));
        for (const pmt3d::vertex_t& v : polygon.vertices())
            out << "v " << v.position.x << ' ' << v.position.y << ' ' << v.position.z << "\nvt "
                << v.texcoord.s << ' ' << v.texcoord.t << '\n';
        for (const pmt3d::frame_t& f : polygon.normals())
            out << "vn " << f.normal.x << ' ' << f.normal.y << ' ' << f.normal.z << '\n';
        pmt3d::for_each_triangle(polygon.getelements(), polygon.vertex_count(),
                                 [&](std::uint64_t, bool, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
                                     out << 'f';
                                     for (const std::uint32_t i : {a + 1, b + 1, c + 1})
                                         out << ' ' << i << '/' << i << '/' << i;
                                     out << '\n';
                                 });
    }

    std::filesystem::path folder_;
};

sample& shared() {
    static sample s;
    return s;
}

void count_bytes(benchmark::State& state, const std::string& name) {
    state.SetBytesProcessed(std::int64_t(state.iterations() * std::filesystem::file_size(name)));
}

// Loading is measured as in a program that loads a model once: all memory comes from the system.
void forget_memory(benchmark::State& state) {
    state.PauseTiming();
    malloc_trim(0);
    state.ResumeTiming();
}

// ---- STL

void load_stl_ours(benchmark::State& state, const char* name) {
    const std::string file = shared().file(name);
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::surface_list items;
        if (!pmt3d::load_stl(items, file, {std::cerr}) || items.front().polygon.vertex_count() != 1'500'000)
            fail("not loaded");
    }
    count_bytes(state, file);
}
void load_stl_assimp(benchmark::State& state, const char* name) {
    const std::string file = shared().file(name);
    for (auto _ : state) {
        forget_memory(state);
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(file, 0);
        if (!scene || scene->mMeshes[0]->mNumFaces != 500'000) fail("not loaded");
    }
    count_bytes(state, file);
}
BENCHMARK_CAPTURE(load_stl_ours, binary, "binary.stl")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_assimp, binary, "binary.stl")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_ours, text, "text.stl")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_assimp, text, "text.stl")->Unit(benchmark::kMillisecond);

const benchmarks::goal binary_goal("binary STL at least 1.5 times as fast as assimp", "load_stl_ours/binary",
                                   "load_stl_assimp/binary", 1 / 1.5);
const benchmarks::goal text_goal("text STL at least 2 times as fast as assimp", "load_stl_ours/text",
                                 "load_stl_assimp/text", 1 / 2.0);

// ---- Text: each reader its own format, so the goal is for a byte

void parse_pmt_ours(benchmark::State& state) {
    const std::string file = shared().file("model.pmt");
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::model_t model;
        if (!pmt3d::load(model, file, {std::cerr})) fail("not loaded");
    }
    count_bytes(state, file);
}
void parse_obj_tinyobjloader(benchmark::State& state) {
    const std::string file = shared().file("model.obj");
    for (auto _ : state) {
        forget_memory(state);
        tinyobj::attrib_t attributes;
        std::vector<tinyobj::shape_t> shapes;
        std::vector<tinyobj::material_t> materials;
        std::string warning, error;
        if (!tinyobj::LoadObj(&attributes, &shapes, &materials, &warning, &error, file.c_str(), nullptr,
                              false))
            fail("not loaded");
    }
    count_bytes(state, file);
}
BENCHMARK(parse_pmt_ours)->Unit(benchmark::kMillisecond);
BENCHMARK(parse_obj_tinyobjloader)->Unit(benchmark::kMillisecond);

const benchmarks::goal_per_byte
    parse_goal("a byte of .pmt at least 3 times as fast as tinyobjloader's of .obj", "parse_pmt_ours",
               "parse_obj_tinyobjloader", 1 / 3.0);

// ---- Saving

// The same file line by line through a stream that is flushed after each.
void save_with_stream(pmt3d::surface_list& items, const std::string& name) {
    const pmt3d::polygon_t& polygon = items.front().polygon;
    std::ofstream out(name, std::ios::binary);
    out << "begin polygon_surface," << polygon.vertex_count() << ',' << polygon.element_count() << '\r'
        << std::endl;
    out << "refractfactor 0\r" << std::endl << "mercatorsphere false\r" << std::endl;
    const auto byte = [](float c) { return int(c * 255 + 0.5f); };
    int previous[4] = {128, 128, 128, 255};
    for (const pmt3d::vertex_t& v : polygon.vertices()) {
        const int color[4] = {byte(v.color.r), byte(v.color.g), byte(v.color.b), byte(v.color.a)};
        if (!std::equal(color, color + 4, previous))
            out << "color " << color[0] << ',' << color[1] << ',' << color[2] << ',' << color[3] << '\r'
                << std::endl;
        std::copy(color, color + 4, previous);
        out << "texcoord " << v.texcoord.s << ',' << v.texcoord.t << '\r' << std::endl;
        out << "position " << v.position.x << ',' << v.position.y << ',' << v.position.z << '\r' << std::endl;
    }
    for (const pmt3d::element_t e : polygon.getelements()) {
        if (e == pmt3d::strip_end)
            out << "element -1\r" << std::endl;
        else
            out << "element " << e << '\r' << std::endl;
    }
    const auto direction = [&](const char* key, const render::dir3& d) {
        out << key << d.x << ',' << d.y << ',' << d.z << '\r' << std::endl;
    };
    for (const pmt3d::frame_t& f : polygon.normals()) {
        direction("tangent ", f.tangent);
        direction("binormal ", f.binormal);
        direction("normal ", f.normal);
    }
    out << "end\r" << std::endl << '\r' << std::endl;
}

std::string bytes_of(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void save_pmt_ours(benchmark::State& state) {
    const std::string file = shared().file("saved.pmt");
    for (auto _ : state)
        if (!pmt3d::save_text(shared().items, file)) fail("not saved");
    count_bytes(state, file);
}
void save_pmt_flushed_stream(benchmark::State& state) {
    const std::string file = shared().file("streamed.pmt");
    for (auto _ : state)
        save_with_stream(shared().items, file);
    if (bytes_of(file) != bytes_of(shared().file("model.pmt"))) fail("the two writers differ");
    count_bytes(state, file);
}
BENCHMARK(save_pmt_ours)->Unit(benchmark::kMillisecond);
BENCHMARK(save_pmt_flushed_stream)->Unit(benchmark::kMillisecond);

const benchmarks::goal
    save_goal("saving at least 5 times as fast as a stream that flushes every line, same bytes",
              "save_pmt_ours", "save_pmt_flushed_stream", 1 / 5.0);

} // namespace
