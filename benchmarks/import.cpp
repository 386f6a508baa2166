// Importing a binary glTF file of 500 000 triangles, against Assimp alone with the same processing.

#include "tools/pmt3d/import/import.h"
#include "goals.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

[[noreturn]] void fail(const char* what) {
    std::cerr << what << '\n';
    std::exit(1);
}

// A wavy square with normals and texture coordinates.
class sample {
public:
    sample() {
        std::string folder = (std::filesystem::temp_directory_path() / "quenvarel-bench-XXXXXX").string();
        if (!mkdtemp(folder.data())) fail("no temporary directory");
        folder_ = folder;
        std::vector<float> floats[3];
        std::vector<std::uint32_t> indices;
        for (std::uint32_t j = 0; j < side; ++j)
            for (std::uint32_t i = 0; i < side; ++i) {
                const float u = float(i) / (side - 1), v = float(j) / (side - 1);
                floats[0].insert(floats[0].end(), {10 * u, std::sin(9 * u) * std::cos(7 * v), 10 * v});
                const float x = -0.9f * std::cos(9 * u) * std::cos(7 * v),
                            z = 0.7f * std::sin(9 * u) * std::sin(7 * v), length = std::hypot(x, 1.0f, z);
                floats[1].insert(floats[1].end(), {x / length, 1 / length, z / length});
                floats[2].insert(floats[2].end(), {u, v});
                if (i == 0 || j == 0) continue;
                const std::uint32_t d = j * side + i, c = d - 1, b = d - side, a = b - 1;
                indices.insert(indices.end(), {a, c, b, b, c, d});
            }
        std::string bytes;
        std::ostringstream views;
        const auto add = [&](const void* data, std::size_t size) {
            views << (bytes.empty() ? "" : ",") << R"({"buffer":0,"byteOffset":)" << bytes.size()
                  << R"(,"byteLength":)" << size << '}';
            bytes.append(static_cast<const char*>(data), size);
        };
        for (const std::vector<float>& numbers : floats)
            add(numbers.data(), numbers.size() * sizeof(float));
        add(indices.data(), indices.size() * sizeof indices[0]);
        std::ostringstream text;
        const auto accessor = [&](int view, int type, std::size_t number, const char* shape) {
            text << R"({"bufferView":)" << view << R"(,"componentType":)" << type << R"(,"count":)" << number
                 << R"(,"type":")" << shape << R"("})" << (view < 3 ? "," : "");
        };
        text
            << R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0,"scale":[2,2,2]}],)"
            << R"("meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3}]}],)"
            << R"("accessors":[)";
        accessor(0, 5126, side * side, "VEC3");
        accessor(1, 5126, side * side, "VEC3");
        accessor(2, 5126, side * side, "VEC2");
        accessor(3, 5125, indices.size(), "SCALAR");
        text << R"(],"bufferViews":[)" << views.str() << R"(],"buffers":[{"byteLength":)" << bytes.size()
             << "}]}";
        std::string json = text.str();
        json.resize((json.size() + 3) / 4 * 4, ' ');
        const auto number = [](std::size_t value) {
            const auto word = std::uint32_t(value);
            return std::string(reinterpret_cast<const char*>(&word), sizeof word);
        };
        std::ofstream(file(), std::ios::binary)
            << "glTF" << number(2) << number(28 + json.size() + bytes.size()) << number(json.size()) << "JSON"
            << json << number(bytes.size()) << "BIN" << '\0' << bytes;
    }
    ~sample() { std::filesystem::remove_all(folder_); }

    std::string file() const { return (folder_ / "model.glb").string(); }
    static constexpr std::uint32_t side = 501; // vertices

private:
    std::filesystem::path folder_;
};

const sample& shared() {
    static const sample made;
    return made;
}

// Processor time of this process and of those that it has waited for, in seconds.
double processor_time() {
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage;
        getrusage(__rusage_who_t(who), &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            seconds += double(time.tv_sec) + double(time.tv_usec) * 1e-6;
    }
    return seconds;
}

template <class Load>
void measure(benchmark::State& state, Load&& load) {
    const std::string file = shared().file();
    double seconds = 0;
    for (auto _ : state) {
        malloc_trim(0); // as in a program that loads one model
        const double start = processor_time();
        load(file);
        seconds += processor_time() - start;
    }
    state.counters[benchmarks::goal::time_of_processes] = seconds / double(state.iterations());
}

void import_ours(benchmark::State& state) {
    measure(state, [](const std::string& file) {
        pmt3d::model_t model;
        tool::made_pictures pictures;
        if (tool::import_model(model, file, pictures, {std::cerr}) != tool::import_end::done ||
            model.items.front().polygon.vertex_count() != sample::side * sample::side)
            fail("not loaded");
    });
}
// Transforms applied, and tangents. Nothing of Assimp's makes strips.
void import_assimp(benchmark::State& state) {
    measure(state, [](const std::string& file) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFile(
            file, aiProcess_Triangulate | aiProcess_PreTransformVertices | aiProcess_CalcTangentSpace);
        if (!scene || scene->mMeshes[0]->mNumFaces != 500'000) fail("not loaded");
    });
}
void import_assimp_bare(benchmark::State& state) {
    measure(state, [](const std::string& file) {
        Assimp::Importer importer;
        if (!importer.ReadFile(file, aiProcess_Triangulate)) fail("not loaded");
    });
}
BENCHMARK(import_ours)->Unit(benchmark::kMillisecond);
BENCHMARK(import_assimp)->Unit(benchmark::kMillisecond);
BENCHMARK(import_assimp_bare)->Unit(benchmark::kMillisecond);

const benchmarks::goal goals[] = {
    {{"importing a GLB, 500 000 triangles",
      "import_ours",
      "import_assimp",
      "assimp, with transforms and tangents",
      1.3,
      {},
      benchmarks::goal::time_of_processes}},
};

} // namespace
