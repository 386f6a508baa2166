// Runs the benchmarks of one program: those with a goal, in turns with their peers. With options of Google
// Benchmark on the command line it runs and prints all benchmarks, or the chosen ones, as that library does.

#include "goals.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace benchmarks {

namespace {

std::vector<goal::terms>& goals() {
    static std::vector<goal::terms> all;
    return all;
}

std::vector<growing::terms>& growths() {
    static std::vector<growing::terms> all;
    return all;
}

struct measured {
    double seconds = 0; // of the processor, or passed (UseRealTime), for an iteration
    std::map<std::string, double> counters;
};

// Keeps the one run that is reported to it.
class keeper : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
                std::exit(EXIT_FAILURE);
            }
            const bool passed = run.run_name.time_type == "real_time";
            last_.seconds = (passed ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) /
                            benchmark::GetTimeUnitMultiplier(run.time_unit);
            last_.counters.clear();
            for (const auto& [name, counter] : run.counters)
                last_.counters[name] = counter;
        }
    }
    const measured& last() const { return last_; }

private:
    measured last_;
};

const measured& run(const std::string& name) {
    static keeper kept;
    if (benchmark::RunSpecifiedBenchmarks(&kept, "^" + name + "(/process_time)?(/real_time)?$") != 1) {
        std::fprintf(stderr, "There is not one benchmark named %s.\n", name.c_str());
        std::exit(EXIT_FAILURE);
    }
    return kept.last();
}

double compared(const measured& what, const std::string& by) {
    if (by == goal::time) return what.seconds;
    const double counter = what.counters.at(by);
    return by == goal::time_per_byte ? 1 / counter : counter;
}

// How much of the compared quantity one iteration has.
double things_compared(const measured& what, const std::string& by) {
    return by == goal::time_per_byte ? what.counters.at(by) * what.seconds : 1;
}

// Whether to go on after so many turns: a few seconds, within a least and a largest number of turns.
class patience {
public:
    bool lasts(std::size_t turns) const {
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
        return turns < 5 || (turns < 21 && taken.count() < 3);
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

constexpr double large = 1 << 24; // bytes, which some cache might hold

void pursue(const goal::terms& aim) {
    result made(aim.what);
    made.peer_name = aim.peer_name;
    made.most_ratio = aim.most;
    made.limit.kind = aim.limit;
    if (aim.compared == goal::time_per_byte)
        made.unit = "s/B";
    else if (aim.compared != goal::time && aim.compared != goal::time_of_processes)
        made.unit = "";
    const patience patient;
    for (std::size_t turn = 0; patient.lasts(turn); ++turn) {
        // The first place alternates, so that neither always finds the caches as the other left them.
        for (const bool us : {turn % 2 == 0, turn % 2 != 0}) {
            const measured& m = run(us ? aim.ours : aim.peer);
            (us ? made.ours : made.peer).push_back(compared(m, aim.compared));
            if (const auto moved = m.counters.find("bytes_moved"); us && moved != m.counters.end())
                made.limit = {moved->second > large ? memory_traffic : cache_traffic,
                              moved->second / things_compared(m, aim.compared)};
        }
    }
    report(made);
}

void follow(const growing::terms& terms) {
    growth made = {terms.what, terms.things, {}, std::vector<std::vector<double>>(terms.arguments.size())};
    made.sizes.resize(terms.arguments.size());
    const patience patient;
    for (std::size_t turn = 0; patient.lasts(turn); ++turn)
        for (std::size_t i = 0; i < terms.arguments.size(); ++i) {
            const measured& m = run(terms.name + "/" + std::to_string(terms.arguments[i]));
            made.sizes[i] = std::round(m.counters.at("items_per_second") * m.seconds);
            made.seconds[i].push_back(m.seconds);
        }
    report(made);
}

} // namespace

goal::goal(terms t) {
    goals().push_back(std::move(t));
}

growing::growing(terms t) {
    growths().push_back(std::move(t));
}

} // namespace benchmarks

int main(int argc, char** argv) {
    // Defaults come first, so that the command line overrides them.
    char shortly[] = "--benchmark_min_time=0.05";
    std::vector<char*> arguments = {argv[0], shortly};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    if (argc > 1) {
        benchmark::RunSpecifiedBenchmarks();
    } else {
        std::for_each(benchmarks::goals().begin(), benchmarks::goals().end(), benchmarks::pursue);
        std::for_each(benchmarks::growths().begin(), benchmarks::growths().end(), benchmarks::follow);
    }
    benchmark::Shutdown();
}
