// The picture operations against loops that follow their definitions pixel by pixel.

#include "goals.h"
#include "libgr/image/processing.h"
#include "libgr/image/row_kernels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace {

using libgr::image2d;
namespace pixel_format = libgr::pixel_format;

constexpr std::uint32_t side = 1024;

image2d noise(std::uint32_t format) {
    image2d image;
    image.descriptor.format = format;
    image.width = image.height = side;
    if (!image.allocate()) std::abort();
    std::mt19937 random(1);
    for (unsigned char& b : image.pixels)
        b = static_cast<unsigned char>(random());
    return image;
}

// Both sides write to memory that is already allocated; allocating it costs both the same.
image2d ready(const libgr::pixel_descriptor& descriptor, std::uint32_t size) {
    image2d image;
    image.descriptor = descriptor;
    image.width = image.height = size;
    if (!image.allocate()) std::abort();
    std::fill(image.pixels.begin(), image.pixels.end(), static_cast<unsigned char>(1));
    return image;
}

void count_moved(benchmark::State& state, const image2d& read, const image2d& written) {
    state.counters["bytes_moved"] = double(read.pixels.size() + written.pixels.size());
}

void grey_rows(benchmark::State& state, decltype(libgr::row_kernels::set::grey) row) {
    const image2d source = noise(pixel_format::rgb);
    image2d made = ready({pixel_format::luminance, 1, 3}, side);
    for (auto _ : state) {
        for (std::uint32_t y = 0; y < side; ++y)
            row(made.row(y), source.row(y), side);
        benchmark::ClobberMemory();
    }
    count_moved(state, source, made);
}
void grey(benchmark::State& state) {
    grey_rows(state, libgr::row_kernels::best().grey);
}
void grey_plain(benchmark::State& state) {
    grey_rows(state, libgr::row_kernels::plain.grey);
}
BENCHMARK(grey);
BENCHMARK(grey_plain);

void normal_rows(benchmark::State& state, decltype(libgr::row_kernels::set::normals) row) {
    const image2d source = noise(pixel_format::luminance);
    image2d made = ready({pixel_format::rgb, 0, 3}, side);
    for (auto _ : state) {
        for (std::uint32_t y = 0; y < side; ++y)
            row(made.row(y), source.row(y), source.row((y + 1) % side), side);
        benchmark::ClobberMemory();
    }
    count_moved(state, source, made);
}
void normalmap(benchmark::State& state) {
    normal_rows(state, libgr::row_kernels::best().normals);
}
void normalmap_plain(benchmark::State& state) {
    normal_rows(state, libgr::row_kernels::plain.normals);
}
BENCHMARK(normalmap);
BENCHMARK(normalmap_plain);

void halve_rows(benchmark::State& state, std::uint32_t format,
                decltype(libgr::row_kernels::set::halve_3) row) {
    const image2d source = noise(format);
    image2d made = ready(source.descriptor, side / 2);
    for (auto _ : state) {
        for (std::uint32_t y = 0; y < side / 2; ++y)
            row(made.row(y), source.row(2 * y), source.row(2 * y + 1), side / 2);
        benchmark::ClobberMemory();
    }
    count_moved(state, source, made);
}
// Not to be vectorised by the compiler: the goal is about a plain loop.
__attribute__((optimize("no-tree-vectorize"))) void one_by_one(unsigned char* to, const unsigned char* a,
                                                               const unsigned char* b, std::size_t pixels) {
    for (std::size_t x = 0; x < pixels; ++x)
        to[x] = static_cast<unsigned char>((a[x] + a[x + 1] + b[x] + b[x + 1]) >> 2);
}
void scaledown_luminance(benchmark::State& state) {
    halve_rows(state, pixel_format::luminance, libgr::row_kernels::best().halve_luminance);
}
void scaledown_luminance_plain(benchmark::State& state) {
    halve_rows(state, pixel_format::luminance, one_by_one);
}
void scaledown_luminance_compiler(benchmark::State& state) {
    halve_rows(state, pixel_format::luminance, libgr::row_kernels::plain.halve_luminance);
}
void scaledown_rgb(benchmark::State& state) {
    halve_rows(state, pixel_format::rgb, libgr::row_kernels::best().halve_3);
}
void scaledown_rgb_plain(benchmark::State& state) {
    halve_rows(state, pixel_format::rgb, libgr::row_kernels::plain.halve_3);
}
void scaledown_rgba(benchmark::State& state) {
    halve_rows(state, pixel_format::rgba, libgr::row_kernels::best().halve_4);
}
void scaledown_rgba_plain(benchmark::State& state) {
    halve_rows(state, pixel_format::rgba, libgr::row_kernels::plain.halve_4);
}
BENCHMARK(scaledown_luminance);
BENCHMARK(scaledown_luminance_plain);
BENCHMARK(scaledown_luminance_compiler);
BENCHMARK(scaledown_rgb);
BENCHMARK(scaledown_rgb_plain);
BENCHMARK(scaledown_rgba);
BENCHMARK(scaledown_rgba_plain);

// The whole operations, new pictures included.
template <bool (*Operation)(image2d&, const image2d&), std::uint32_t Format>
void whole(benchmark::State& state) {
    const image2d source = noise(Format);
    for (auto _ : state) {
        image2d made;
        if (!Operation(made, source)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(made.pixels.data());
    }
}
void whole_grey(benchmark::State& state) {
    whole<libgr::rgb2grey, pixel_format::rgb>(state);
}
void whole_normalmap(benchmark::State& state) {
    whole<libgr::normalmap, pixel_format::luminance>(state);
}
void whole_scaledown_rgb(benchmark::State& state) {
    whole<libgr::scaledown, pixel_format::rgb>(state);
}
BENCHMARK(whole_grey);
BENCHMARK(whole_normalmap);
BENCHMARK(whole_scaledown_rgb);

const benchmarks::goal goals[] = {
    {{"normal map, 1 megapixel", "normalmap", "normalmap_plain", "formula for each pixel", 1.0 / 8}},
    {{"grey, 1 megapixel", "grey", "grey_plain", "plain loop", 1.0 / 4}},
    {{"half size, luminance", "scaledown_luminance", "scaledown_luminance_plain", "plain loop", 1.0 / 4}},
    {{"half size, RGB", "scaledown_rgb", "scaledown_rgb_plain", "plain loop", 1.0 / 4}},
    {{"half size, RGBA", "scaledown_rgba", "scaledown_rgba_plain", "plain loop", 1.0 / 4}},
};

} // namespace
