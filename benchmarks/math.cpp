// Matrices against GLM, text forms against snprintf.

#include "goals.h"
#include "render/math/matrix.h"
#include "render/math/text.h"

#include <benchmark/benchmark.h>

#include <glm/glm.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <cstdio>
#include <ostream>
#include <streambuf>
#include <vector>

namespace {

constexpr std::size_t count = 256;

std::vector<render::mtx3w> matrices() {
    std::vector<render::mtx3w> made(count);
    unsigned seed = 1;
    for (render::mtx3w& m : made)
        for (float& element : m.m) {
            seed = seed * 1664525 + 1013904223;
            element = float(seed) / 4294967296.0f - 0.5f;
        }
    return made;
}

std::vector<glm::mat4> glm_matrices() {
    std::vector<glm::mat4> made;
    for (const render::mtx3w& m : matrices())
        made.push_back(glm::make_mat4(m.m));
    return made;
}

// Applies work to each matrix and the one at the same distance from the end.
template <class Matrix, class Work>
void each(benchmark::State& state, const std::vector<Matrix>& m, Work work) {
    std::vector<Matrix> results(count);
    for (auto _ : state) {
        for (std::size_t i = 0; i < count; ++i)
            results[i] = work(m[i], m[count - 1 - i]);
        benchmark::DoNotOptimize(results.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * std::int64_t(count));
}
constexpr auto product = [](const auto& a, const auto& b) { return a * b; };
constexpr auto inverted = [](const auto& a, const auto&) { return inverse(a); }; // found by argument

void product_ours(benchmark::State& state) {
    each(state, matrices(), product);
}
BENCHMARK(product_ours);
void product_glm(benchmark::State& state) {
    each(state, glm_matrices(), product);
}
BENCHMARK(product_glm);
void inverse_ours(benchmark::State& state) {
    each(state, matrices(), inverted);
}
BENCHMARK(inverse_ours);
void inverse_glm(benchmark::State& state) {
    each(state, glm_matrices(), inverted);
}
BENCHMARK(inverse_glm);

// Discards everything, so that only the formatting is timed.
class nowhere : public std::streambuf {
    std::streamsize xsputn(const char* text, std::streamsize size) override {
        benchmark::DoNotOptimize(text);
        return size;
    }
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

void text_ours(benchmark::State& state) {
    const auto all = matrices();
    nowhere buffer;
    std::ostream os(&buffer);
    for (auto _ : state)
        for (const render::mtx3w& m : all)
            os << render::vec3w{m[0], m[1], m[2], m[3]};
    state.SetItemsProcessed(state.iterations() * std::int64_t(count));
}
BENCHMARK(text_ours);

void text_snprintf(benchmark::State& state) {
    const auto all = matrices();
    for (auto _ : state)
        for (const render::mtx3w& m : all)
            for (int i = 0; i < 4; ++i) {
                char text[64];
                benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "%f", double(m[i])));
                benchmark::DoNotOptimize(text);
            }
    state.SetItemsProcessed(state.iterations() * std::int64_t(count));
}
BENCHMARK(text_snprintf);

const benchmarks::goal goals[] = {
    // Both products compile to the same instructions; 5 % is noise.
    {{"matrix product", "product_ours", "product_glm", "GLM", 1.05}},
    {{"matrix inverse", "inverse_ours", "inverse_glm", "GLM", 1.0}},
    {{"text of four numbers", "text_ours", "text_snprintf", "4 snprintf", 1.0}},
};

} // namespace
