// Reading a numeric field of a model file.

#include "libutils/expression.h"
#include "goals.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// Numbers as in model files: mostly six significant digits, some short ones, some with nine digits or an
// exponent.
const std::vector<std::string>& numbers() {
    static const std::vector<std::string> texts = [] {
        std::vector<std::string> made;
        unsigned seed = 1;
        for (int i = 0; i < 1000; ++i) {
            seed = seed * 1664525 + 1013904223;
            const double value = double(seed) / 4294967296.0 * (i % 7 == 0 ? 1000.0 : 1.0);
            char text[32];
            std::snprintf(text, sizeof text,
                          i % 10 == 0   ? "%.9g"
                          : i % 10 == 1 ? "%.3e"
                          : i % 10 == 2 ? "%.2g"
                                        : "%.6g",
                          value);
            made.emplace_back(text);
        }
        return made;
    }();
    return texts;
}

void plain_number_from_chars(benchmark::State& state) {
    for (auto _ : state)
        for (const std::string& text : numbers()) {
            float value;
            benchmark::DoNotOptimize(std::from_chars(text.data(), text.data() + text.size(), value));
            benchmark::DoNotOptimize(value);
        }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(plain_number_from_chars);

void plain_number_evaluate(benchmark::State& state) {
    for (auto _ : state)
        for (const std::string& text : numbers()) {
            const char* end;
            benchmark::DoNotOptimize(libutils::evaluate(text.c_str(), &end));
            benchmark::DoNotOptimize(end);
        }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(plain_number_evaluate);

void five_terms_evaluate(benchmark::State& state) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < 1000; ++i) {
        const auto& n = numbers();
        texts.push_back(n[i] + "+" + n[(i + 1) % 1000] + "*(" + n[(i + 2) % 1000] + "-" + n[(i + 3) % 1000] +
                        ")/" + n[(i + 4) % 1000]);
    }
    for (auto _ : state)
        for (const std::string& text : texts) {
            const char* end;
            benchmark::DoNotOptimize(libutils::evaluate(text.c_str(), &end));
            benchmark::DoNotOptimize(end);
        }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(five_terms_evaluate);

const benchmarks::goal goals[] = {
    {{"a plain number", "plain_number_evaluate", "plain_number_from_chars", "std::from_chars", 1.25,
      "library"}},
    {{"an expression of five terms", "five_terms_evaluate", "plain_number_from_chars", "one std::from_chars",
      10.0}},
};

} // namespace
