#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <sstream>

namespace benchmarks {

namespace {

// One JSON object.
class object {
public:
    object& member(const char* name, const std::string& value) {
        begin(name) << std::quoted(value);
        return *this;
    }
    object& member(const char* name, double value) {
        begin(name) << value;
        return *this;
    }
    object& member(const char* name, const std::vector<double>& values) {
        begin(name) << '[';
        const char* separator = "";
        for (const double value : values) {
            text_ << separator << value;
            separator = ", ";
        }
        text_ << ']';
        return *this;
    }
    void write() const {
        if (const char* file = std::getenv("QUENVAREL_BENCH_ROWS"))
            std::ofstream(file, std::ios::app) << text_.str() << "}\n";
    }

private:
    std::ostream& begin(const char* name) {
        text_ << (text_.tellp() == 0 ? "{" : ", ") << std::quoted(name) << ": ";
        return text_;
    }
    std::ostringstream text_;
};

struct spread {
    double low, middle, high;
    explicit spread(const std::vector<double>& numbers)
        : low(quantile(numbers, 0.25)),
          middle(median(numbers)),
          high(quantile(numbers, 0.75)) {}
    std::vector<double> list() const { return {low, middle, high}; }
};

std::vector<double> ratios(const std::vector<double>& ours, const std::vector<double>& peer) {
    std::vector<double> all;
    std::transform(ours.begin(), ours.end(), peer.begin(), std::back_inserter(all), std::divides<>());
    return all;
}

// Times in a suitable unit, other quantities unchanged.
std::string readable(double value, const std::string& unit) {
    struct {
        double size;
        const char* name;
    } const units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "us"}, {1e-9, "ns"}};
    const char* name = unit.c_str();
    if (unit == "s") {
        const auto* suited = std::find_if(std::begin(units), std::end(units) - 1,
                                          [&](const auto& u) { return value >= u.size; });
        value /= suited->size;
        name = suited->name;
    }
    char text[64];
    std::snprintf(text, sizeof text, "%.4g %s", value, name);
    return text;
}

} // namespace

double quantile(std::vector<double> numbers, double part) {
    std::sort(numbers.begin(), numbers.end());
    const double at = part * double(numbers.size() - 1);
    const auto below = std::size_t(at), above = std::min(below + 1, numbers.size() - 1);
    return numbers[below] + (at - double(below)) * (numbers[above] - numbers[below]);
}

double median(std::vector<double> numbers) {
    return quantile(std::move(numbers), 0.5);
}

void report(const result& r) {
    const spread ours(r.ours);
    object row;
    row.member("what", r.what).member("unit", r.unit).member("ours", ours.list());
    std::printf("%-60s %s", r.what.c_str(), readable(ours.middle, r.unit).c_str());
    const auto judge = [&](const std::vector<double>& values, std::optional<double> most, const char* goal,
                           const std::string& unit) {
        if (!most) return;
        const bool met = quantile(values, r.always ? 1 : 0.5) <= *most;
        row.member(goal, *most).member("met", met ? "yes" : "no");
        if (r.always) row.member("worst", quantile(r.ours, 1));
        std::printf(", %s at most %s: %s", r.always ? "always" : "", readable(*most, unit).c_str(),
                    met ? "held" : "MISSED");
    };
    if (!r.peer.empty()) {
        const std::vector<double> all = ratios(r.ours, r.peer);
        const spread peer(r.peer), ratio(all);
        row.member("peer", peer.list()).member("peer name", r.peer_name).member("ratio", ratio.list());
        std::printf(", %s %s, ratio %.3f (%.3f to %.3f)", r.peer_name.c_str(),
                    readable(peer.middle, r.unit).c_str(), ratio.middle, ratio.low, ratio.high);
        judge(all, r.most_ratio, "goal of the ratio", "");
    }
    judge(r.ours, r.most, "goal", r.unit);
    if (!r.limit.kind.empty()) row.member("limit", r.limit.kind);
    if (r.limit.value > 0) row.member("limit value", r.limit.value);
    std::printf("\n");
    std::fflush(stdout);
    row.write();
}

void report(const growth& g) {
    std::vector<double> each;
    std::printf("%-66s", g.what.c_str());
    for (std::size_t i = 0; i < g.sizes.size(); ++i) {
        each.push_back(median(g.seconds[i]) / g.sizes[i]);
        std::printf(" %.0f: %s", g.sizes[i], readable(each.back(), "s").c_str());
    }
    std::printf(" for each %s\n", g.things.c_str());
    std::fflush(stdout);
    object()
        .member("growth", g.what)
        .member("things", g.things)
        .member("sizes", g.sizes)
        .member("each", each)
        .write();
}

void report(const distribution& d) {
    std::vector<double> sorted = d.seconds;
    std::sort(sorted.begin(), sorted.end());
    object().member("distribution", d.what).member("name", d.name).member("seconds", sorted).write();
}

void report_fact(const std::string& name, const std::string& value) {
    std::printf("%s: %s\n", name.c_str(), value.c_str());
    object().member("fact", name).member("value", value).write();
}

} // namespace benchmarks
