// Loading pictures into textures, against decoding them and bare GL calls.

#include "goals.h"
#include "libgr/image/autoformat.h"
#include "libgr/texture/environment.h"
#include "libgr/texture/surface_texture.h"
#include "libgr/texture/texture_table.h"
#include "support/gl_window.h"
#include "support/temporary_directory.h"

#include <benchmark/benchmark.h>

#include <GL/glew.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

constexpr std::uint32_t size = 1024;
constexpr std::array<const char*, 3> names = {"color.jpg", "normals.png", "gloss.png"};

// Three pictures of 1024 by 1024 in a temporary directory.
const test_support::temporary_directory& pictures() {
    static const test_support::temporary_directory directory;
    static bool made = false;
    if (made) return directory;
    made = true;
    if (!test_support::make_context_current()) std::exit(EXIT_FAILURE);
    libgr::image2d image;
    image.descriptor = {libgr::pixel_format::rgb, libgr::sample_type::unsigned_integer,
                        libgr::bits_class::bits_8};
    image.width = image.height = size;
    image.allocate();
    for (std::uint32_t y = 0; y < size; ++y) {
        for (std::uint32_t x = 0; x < size; ++x) {
            const float wave = std::sin(float(x) * 0.05f) * std::cos(float(y) * 0.03f);
            for (int c = 0; c < 3; ++c)
                image.row(y)[x * 3 + c] = static_cast<unsigned char>(127 + (40 + 30 * c) * wave);
        }
    }
    for (const char* name : names)
        libgr::autosaveformat(image, directory.file(name));
    return directory;
}

void open_and_upload(benchmark::State& state) {
    const std::string model = pictures().file("model.pmt");
    std::size_t decoded = 0;
    for (auto _ : state) {
        libgr::texture_t dress;
        dress.texture = names[0];
        dress.bumpmap = names[1];
        dress.specular = names[2];
        dress.open(model);
        glFinish();
        decoded = libgr::texture_table::shared()->size();
    }
    state.counters["table"] = double(decoded); // three files and the normal map's second name
}
BENCHMARK(open_and_upload)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

void decode_and_bare_upload(benchmark::State& state) {
    std::vector<std::string> files;
    for (const char* name : names)
        files.push_back(pictures().file(name));
    for (auto _ : state) {
        GLuint textures[3] = {};
        glGenTextures(3, textures);
        for (int i = 0; i < 3; ++i) {
            libgr::image2d image;
            libgr::autoloadformat(image, files[std::size_t(i)]);
            glBindTexture(GL_TEXTURE_2D, textures[i]);
            glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_TRUE);
            glTexImage2D(GL_TEXTURE_2D, 0, i == 1 ? GL_RGB8_SNORM : GL_RGB8, size, size, 0, GL_RGB,
                         i == 1 ? GL_BYTE : GL_UNSIGNED_BYTE, image.pixels.data());
        }
        glFinish();
        glDeleteTextures(3, textures);
    }
}
BENCHMARK(decode_and_bare_upload)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

// 128 surfaces that name the same three pictures, each spelled differently.
void open_shared_128(benchmark::State& state) {
    const std::string directory = pictures().path().string();
    std::size_t decoded = 0;
    for (auto _ : state) {
        std::vector<libgr::texture_t> surfaces(128);
        for (std::size_t i = 0; i < surfaces.size(); ++i) {
            libgr::texture_t& dress = surfaces[i];
            dress.texture = std::string(i % 2 ? "./" : "") + names[0];
            dress.bumpmap = names[1];
            dress.specular = i % 3 ? names[2] : directory + "/" + names[2];
            dress.open(directory + "/" + std::to_string(i) + ".pmt");
        }
        glFinish();
        decoded = libgr::texture_table::shared()->size();
    }
    state.counters["table"] = double(decoded);
}
BENCHMARK(open_shared_128)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

const benchmarks::goal goals[] = {
    {{"three pictures of 1024 by 1024 to textures", "open_and_upload", "decode_and_bare_upload",
      "decoding, bare GL calls", 1.2, "library"}},
    {{"the same, shared by 128 surfaces", "open_shared_128", "open_and_upload", "by one", 1.2}},
    {{"textures in memory then", "open_shared_128", "open_and_upload", "by one", 1.0, {}, "table"}},
};

void default_environment(benchmark::State& state) {
    pictures();
    for (auto _ : state) {
        libgr::environment_t around;
        around.initex("");
        glFinish();
    }
}
BENCHMARK(default_environment)->Unit(benchmark::kMicrosecond);

} // namespace
