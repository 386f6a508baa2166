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
            const auto [seconds, is_new] =
                fastest_.try_emplace(run.run_name.function_name + argument(run), time);
            if (!is_new) seconds->second = std::min(seconds->second, time);
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        std::printf("\n%-70s %8s %8s\n", "goal", "ratio", "at most");
        for (const promise& p : promises()) {
            const auto ours = fastest_.find(p.ours), peer = fastest_.find(p.peer);
            if (ours == fastest_.end() || peer == fastest_.end()) continue;
            const double ratio = ours->second / peer->second;
            std::printf("%-70s %8.3f %8.3f %s\n", p.text.c_str(), ratio, p.most,
                        ratio <= p.most ? "held" : "MISSED");
        }
    }

private:
    static std::string argument(const Run& run) {
        return run.run_name.args.empty() ? "" : "/" + run.run_name.args;
    }

    std::map<std::string, double> fastest_;
};

} // namespace

benchmarks::goal::goal(std::string text, std::string ours, std::string peer, double most) {
    promises().push_back({std::move(text), std::move(ours), std::move(peer), most});
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
