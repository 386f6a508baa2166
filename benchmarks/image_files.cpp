// Reading picture files, against bare loops around the same libraries, and turning them, against the
// library's own turns.

#include "goals.h"
#include "libgr/image/autoformat.h"
#include "libgr/image/jpeg_file.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <jpeglib.h>
#include <malloc.h>
#include <memory>
#include <png.h>
#include <string>
#include <turbojpeg.h>
#include <unistd.h>
#include <vector>

namespace {

using libgr::image2d;

// A temporary folder with a picture as JPEG and PNG, in full size and smaller, and a bitmap of 100 million
// pixels that is a sparse file.
class files {
public:
    static const files& instance() {
        static const files made;
        return made;
    }

    static constexpr int percentages[] = {1, 10, 100};
    std::string jpeg(std::int64_t percent = 100) const { return name(percent, ".jpg"); }
    std::string png(std::int64_t percent = 100) const { return name(percent, ".png"); }
    std::string bmp() const { return (folder_ / "a.bmp").string(); }

private:
    files() {
        std::filesystem::create_directories(folder_);
        for (const int percent : percentages)
            write(percent);
        image2d small;
        small.descriptor = {10, 1, 3};
        small.width = small.height = 1;
        if (!small.allocate() || !libgr::autosaveformat(small, bmp())) std::abort();
        constexpr std::int32_t side = 10000;
        std::FILE* f = std::fopen(bmp().c_str(), "r+b");
        std::fseek(f, 18, SEEK_SET);
        std::fwrite(&side, 4, 1, f);
        std::fwrite(&side, 4, 1, f);
        std::fclose(f);
        std::filesystem::resize_file(bmp(), 54 + std::uintmax_t(3) * side * side);
    }
    ~files() { std::filesystem::remove_all(folder_); }

    std::string name(std::int64_t percent, const char* extension) const {
        return (folder_ / (std::to_string(percent) + extension)).string();
    }
    void write(int percent) const {
        image2d image;
        image.descriptor = {8, 1, 3};
        image.width = std::uint32_t(2048 * std::sqrt(percent / 100.0));
        image.height = std::uint32_t(1536 * std::sqrt(percent / 100.0));
        if (!image.allocate()) std::abort();
        unsigned grain = 1;
        for (std::uint32_t y = 0; y < image.height; ++y)
            for (std::uint32_t i = 0; i < 3 * image.width; ++i) {
                grain = grain * 1664525 + 1013904223;
                const double wave = std::sin(0.01 * i) * std::cos(0.02 * y);
                image.row(y)[i] = static_cast<unsigned char>(128 + 100 * wave + (grain >> 28));
            }
        if (!libgr::autosaveformat(image, jpeg(percent)) || !libgr::autosaveformat(image, png(percent)))
            std::abort();
    }

    std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("quenvarel-bench-" + std::to_string(getpid()));
};

// Every picture is kept, so each needs fresh memory. Otherwise malloc would give the bare loops the previous
// picture's memory, whose pages are already there.
const int large_storage_is_mapped = mallopt(M_MMAP_THRESHOLD, 1 << 17);

void load(benchmark::State& state, const std::string& name) {
    std::int64_t pixels = 0;
    for (auto _ : state) {
        image2d image;
        if (!libgr::autoloadformat(image, name)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(image.pixels.data());
        pixels += std::int64_t(image.width) * image.height;
    }
    state.SetItemsProcessed(pixels);
}

void jpeg_load(benchmark::State& state) {
    load(state, files::instance().jpeg(state.range(0)));
}
BENCHMARK(jpeg_load)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

void jpeg_bare_loop(benchmark::State& state) {
    const std::string name = files::instance().jpeg();
    for (auto _ : state) {
        jpeg_decompress_struct info;
        jpeg_error_mgr errors;
        info.err = jpeg_std_error(&errors);
        jpeg_create_decompress(&info);
        std::FILE* file = std::fopen(name.c_str(), "rb");
        jpeg_stdio_src(&info, file);
        jpeg_read_header(&info, TRUE);
        jpeg_start_decompress(&info);
        const std::size_t stride = std::size_t(info.output_width) * 3;
        const std::unique_ptr<JSAMPLE[]> pixels(new JSAMPLE[stride * info.output_height]);
        while (info.output_scanline < info.output_height) {
            JSAMPROW row = &pixels[info.output_scanline * stride];
            jpeg_read_scanlines(&info, &row, 1);
        }
        jpeg_finish_decompress(&info);
        jpeg_destroy_decompress(&info);
        std::fclose(file);
        benchmark::DoNotOptimize(pixels.get());
    }
}
BENCHMARK(jpeg_bare_loop)->Unit(benchmark::kMillisecond);

void png_load(benchmark::State& state) {
    load(state, files::instance().png(state.range(0)));
}
BENCHMARK(png_load)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

void png_bare_loop(benchmark::State& state) {
    const std::string name = files::instance().png();
    for (auto _ : state) {
        std::FILE* file = std::fopen(name.c_str(), "rb");
        png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_read_info(png, info);
        const std::size_t stride = png_get_rowbytes(png, info), height = png_get_image_height(png, info);
        const std::unique_ptr<png_byte[]> pixels(new png_byte[stride * height]);
        std::vector<png_bytep> rows(height);
        for (std::size_t y = 0; y < height; ++y)
            rows[y] = &pixels[y * stride];
        png_read_image(png, rows.data());
        png_read_end(png, nullptr);
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        benchmark::DoNotOptimize(pixels.get());
    }
}
BENCHMARK(png_bare_loop)->Unit(benchmark::kMillisecond);

void bmp_100_megapixels_open(benchmark::State& state) {
    load(state, files::instance().bmp());
}
BENCHMARK(bmp_100_megapixels_open);

void a_millisecond(benchmark::State& state) {
    for (auto _ : state) {
        const std::clock_t end = std::clock() + CLOCKS_PER_SEC / 1000;
        while (std::clock() < end) {
        }
    }
}
BENCHMARK(a_millisecond);

void jpeg_turn(benchmark::State& state) {
    libgr::jpeg_file source;
    if (!source.load(files::instance().jpeg())) std::abort();
    for (auto _ : state) {
        libgr::jpeg_file file = source;
        if (!libgr::turn_jpeg(file, 1)) state.SkipWithError("refused");
        benchmark::DoNotOptimize(file.bytes.data());
    }
}
BENCHMARK(jpeg_turn)->Unit(benchmark::kMillisecond);

// jpegtran's transformation, through the library's own interface.
void jpeg_turn_jpegtran(benchmark::State& state) {
    libgr::jpeg_file source;
    if (!source.load(files::instance().jpeg())) std::abort();
    for (auto _ : state) {
        tjhandle handle = tjInitTransform();
        tjtransform turn{};
        turn.op = TJXOP_ROT90;
        turn.options = TJXOPT_PERFECT;
        unsigned char* bytes = nullptr;
        unsigned long size = 0;
        if (tjTransform(handle, source.bytes.data(), source.bytes.size(), 1, &bytes, &size, &turn, 0) != 0)
            state.SkipWithError("refused");
        benchmark::DoNotOptimize(bytes);
        tjFree(bytes);
        tjDestroy(handle);
    }
}
BENCHMARK(jpeg_turn_jpegtran)->Unit(benchmark::kMillisecond);

const benchmarks::goal goals[] = {
    {{"JPEG decoding, 3 megapixels", "jpeg_load/100", "jpeg_bare_loop", "bare libjpeg loop", 1.05,
      "library"}},
    {{"PNG decoding, 3 megapixels", "png_load/100", "png_bare_loop", "bare libpng loop", 1.05, "library"}},
    {{"opening a BMP of 100 megapixels", "bmp_100_megapixels_open", "a_millisecond", "to wait", 1.0}},
    {{"quarter turn of a JPEG, lossless", "jpeg_turn", "jpeg_turn_jpegtran", "jpegtran", 1.05, "library"}},
};
const benchmarks::growing growths[] = {
    {{"JPEG decoding", "pixel", "jpeg_load", {1, 10, 100}}},
    {{"PNG decoding", "pixel", "png_load", {1, 10, 100}}},
};

} // namespace
