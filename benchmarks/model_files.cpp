// Loading and saving model files of up to 500 000 triangles, against other readers and writers.

#include "goals.h"
#include "libutils/parallel.h"
#include "pmt3d/format/dispatch.h"
#include "pmt3d/format/stl.h"
#include "tools/pmt3d/reshaping.h"

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

[[noreturn]] void fail(const char* what) {
    std::cerr << what << '\n';
    std::exit(1);
}

// A wavy square with frames, saved in every format.
class sample {
public:
    explicit sample(double part) {
        const auto side = 1 + std::uint32_t(std::lround(500 * std::sqrt(part))); // vertices
        triangles_ = 2 * std::uint64_t(side - 1) * (side - 1);
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
    std::uint64_t triangles() const { return triangles_; }
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

    std::uint64_t triangles_;
    std::filesystem::path folder_;
};

// The sample with one in 100, one in 10 or all of its triangles.
sample& shared(std::int64_t percent = 100) {
    static sample samples[] = {sample(0.01), sample(0.1), sample(1)};
    return samples[percent == 1 ? 0 : percent == 10 ? 1 : 2];
}

std::size_t size_of(const pmt3d::surface_list& items) {
    const pmt3d::polygon_t& polygon = items.front().polygon;
    return polygon.vertex_count() * (sizeof(pmt3d::vertex_t) + sizeof(pmt3d::frame_t)) +
           polygon.element_count() * sizeof(pmt3d::element_t);
}

void count(benchmark::State& state, const sample& s, const std::string& file, std::size_t model_size = 0) {
    const std::size_t file_size = std::filesystem::file_size(file);
    state.SetBytesProcessed(std::int64_t(state.iterations() * file_size));
    state.SetItemsProcessed(std::int64_t(state.iterations() * s.triangles()));
    state.counters["bytes_moved"] = double(file_size + model_size);
}

// Loading is measured as in a program that loads one model: all memory comes fresh from the system.
void forget_memory(benchmark::State& state) {
    state.PauseTiming();
    malloc_trim(0);
    state.ResumeTiming();
}

// ---- STL

void load_stl_ours(benchmark::State& state, const char* name) {
    const sample& s = shared(state.range(0));
    const std::string file = s.file(name);
    std::size_t size = 0;
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::surface_list items;
        if (!pmt3d::load_stl(items, file, {std::cerr}) ||
            items.front().polygon.vertex_count() != 3 * s.triangles())
            fail("not loaded");
        size = size_of(items);
    }
    count(state, s, file, size);
}
void load_stl_assimp(benchmark::State& state, const char* name) {
    const std::string file = shared().file(name);
    for (auto _ : state) {
        forget_memory(state);
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(file, 0);
        if (!scene || scene->mMeshes[0]->mNumFaces != 500'000) fail("not loaded");
    }
    count(state, shared(), file);
}
BENCHMARK_CAPTURE(load_stl_ours, binary, "binary.stl")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_assimp, binary, "binary.stl")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_ours, text, "text.stl")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_stl_assimp, text, "text.stl")->UseRealTime()->Unit(benchmark::kMillisecond);

// The same on one thread, as below 4 MiB.
void load_alone(benchmark::State& state, const char* name) {
    const libutils::fixed_sharing alone({1});
    const sample& s = shared();
    const std::string file = s.file(name);
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::model_t model;
        if (!pmt3d::load(model, file, {std::cerr})) fail("not loaded");
    }
    count(state, s, file);
}
BENCHMARK_CAPTURE(load_alone, binary, "binary.stl")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_alone, text, "text.stl")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(load_alone, pmt, "model.pmt")->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- Text: each reader has its own format, so the goal is per byte

void parse_pmt_ours(benchmark::State& state) {
    const sample& s = shared(state.range(0));
    const std::string file = s.file("model.pmt");
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::model_t model;
        if (!pmt3d::load(model, file, {std::cerr})) fail("not loaded");
    }
    count(state, s, file, size_of(s.items));
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
    count(state, shared(), file);
}
BENCHMARK(parse_pmt_ours)->Arg(1)->Arg(10)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(parse_obj_tinyobjloader)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- Checking: loading with somebody who is told what is left out

struct listener : pmt3d::load_observer {
    void left_out(const pmt3d::file_place&, std::string_view) override { fail("nothing is wrong"); }
    void named_picture(std::uint64_t, std::string_view) override {}
};

void check_ours(benchmark::State& state, const char* name) {
    const std::string file = shared().file(name);
    listener observer;
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::model_t model;
        if (!pmt3d::load(model, file, {std::cerr, {}, {}, 0, nullptr, &observer})) fail("not loaded");
    }
    count(state, shared(), file);
}
BENCHMARK_CAPTURE(check_ours, pmt, "model.pmt")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(check_ours, binary, "binary.stl")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(check_ours, text, "text.stl")->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- Saving

// The same file through a stream that is flushed after each line.
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
    count(state, shared(), file, size_of(shared().items));
}
void save_pmt_flushed_stream(benchmark::State& state) {
    const std::string file = shared().file("streamed.pmt");
    for (auto _ : state)
        save_with_stream(shared().items, file);
    if (bytes_of(file) != bytes_of(shared().file("model.pmt"))) fail("the two writers differ");
    count(state, shared(), file);
}
BENCHMARK(save_pmt_ours)->Unit(benchmark::kMillisecond);
BENCHMARK(save_pmt_flushed_stream)->Unit(benchmark::kMillisecond);

// ---- As pmt3d convert in.stl out.pmt does it, with --smooth 30 and without

void convert_stl(benchmark::State& state, bool smooth) {
    const sample& s = shared(state.range(0));
    const std::string in = s.file("binary.stl"), out = s.file("converted.pmt");
    for (auto _ : state) {
        forget_memory(state);
        pmt3d::model_t model;
        if (!pmt3d::load(model, in, {std::cerr}) || (smooth && !tool::smooth(model, 30)) ||
            !pmt3d::save(model, out))
            fail("not converted");
    }
    count(state, s, in);
}
BENCHMARK_CAPTURE(convert_stl, smooth, true)
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convert_stl, plain, false)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

const benchmarks::goal goals[] = {
    {{"binary STL, 500 000 triangles", "load_stl_ours/binary/100", "load_stl_assimp/binary", "assimp",
      1 / 1.5}},
    {{"text STL, 500 000 triangles", "load_stl_ours/text/100", "load_stl_assimp/text", "assimp", 1 / 2.0}},
    {{"a byte of .pmt, 500 000 triangles",
      "parse_pmt_ours/100",
      "parse_obj_tinyobjloader",
      "tinyobjloader, .obj",
      1 / 6.0,
      {},
      benchmarks::goal::time_per_byte}},
    {{"binary STL, all processors", "load_stl_ours/binary/100", "load_alone/binary", "one thread", 1 / 1.7}},
    {{"text STL, all processors", "load_stl_ours/text/100", "load_alone/text", "one thread", 1 / 1.7}},
    {{".pmt, all processors", "parse_pmt_ours/100", "load_alone/pmt", "one thread", 1 / 1.7}},
    {{"binary STL to .pmt, smoothed", "convert_stl/smooth/100", "convert_stl/plain/100", "not smoothed", 3}},
    {{"checking that .pmt", "check_ours/pmt", "parse_pmt_ours/100", "loading it", 1.1}},
    {{"checking that text STL", "check_ours/text", "load_stl_ours/text/100", "loading it", 1.1}},
    {{"checking that binary STL", "check_ours/binary", "load_stl_ours/binary/100", "loading it", 1.1}},
    {{"writing that .pmt", "save_pmt_ours", "save_pmt_flushed_stream", "stream flushed by line", 1 / 5.0}},
};
const benchmarks::growing growths[] = {
    {{"binary STL", "triangle", "load_stl_ours/binary", {1, 10, 100}}},
    {{"text STL", "triangle", "load_stl_ours/text", {1, 10, 100}}},
    {{".pmt", "triangle", "parse_pmt_ours", {1, 10, 100}}},
    {{"smoothing STL", "triangle", "convert_stl/smooth", {1, 10, 100}}},
};

} // namespace
