// Runs the benchmarks of one program and then holds the times against the goals.

#include "goals.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

namespace {

struct promise {
    std::string text, ours, peer;
    double most;
    bool per_byte;
};

std::vector<promise>& promises() {
    static std::vector<promise> all;
    return all;
}

class reporter : public benchmark::ConsoleReporter {
public:
    reporter() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            // Single repetitions may be hidden; the median is then the best that is known.
            if (run.error_occurred || (run.run_type != Run::RT_Iteration && run.aggregate_name != "median"))
                continue;
            const double time = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            const std::string name = run.run_name.function_name + argument(run);
            note(fastest_, name, time);
            if (const auto bytes = run.counters.find("bytes_per_second"); bytes != run.counters.end())
                note(fastest_byte_, name, 1.0 / bytes->second);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        std::printf("\n%-70s %8s %8s\n", "goal", "ratio", "at most");
        for (const promise& p : promises()) {
            const times& fastest = p.per_byte ? fastest_byte_ : fastest_;
            const auto ours = fastest.find(p.ours), peer = fastest.find(p.peer);
            if (ours == fastest.end() || peer == fastest.end()) continue;
            const double ratio = ours->second / peer->second;
            std::printf("%-70s %8.3f %8.3f %s\n", p.text.c_str(), ratio, p.most,
                        ratio <= p.most ? "held" : "MISSED");
        }
    }

private:
    using times = std::map<std::string, double>; // in seconds

    static void note(times& fastest, const std::string& name, double time) {
        const auto [noted, is_new] = fastest.try_emplace(name, time);
        if (!is_new) noted->second = std::min(noted->second, time);
    }
    static std::string argument(const Run& run) {
        return run.run_name.args.empty() ? "" : "/" + run.run_name.args;
    }

    times fastest_, fastest_byte_;
};

} // namespace

benchmarks::goal::goal(std::string text, std::string ours, std::string peer, double most) {
    promises().push_back({std::move(text), std::move(ours), std::move(peer), most, false});
}

benchmarks::goal_per_byte::goal_per_byte(std::string text, std::string ours, std::string peer, double most) {
    promises().push_back({std::move(text), std::move(ours), std::move(peer), most, true});
}

int main(int argc, char** argv) {
    // Defaults first: what the command line says comes later and wins.
    char repetitions[] = "--benchmark_repetitions=5", shortly[] = "--benchmark_min_time=0.1",
         mixed[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments = {argv[0], repetitions, shortly, mixed};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = int(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    reporter console;
    benchmark::RunSpecifiedBenchmarks(&console);
    benchmark::Shutdown();
}
