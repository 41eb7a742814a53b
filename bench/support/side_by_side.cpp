#include "bench/support/side_by_side.hpp"

#include <malloc.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace bench {
namespace {

constexpr double shortest_measurement = 0.004;  // seconds
constexpr double longest_table = 8;
constexpr int fewest_rounds = 9;
constexpr int most_rounds = 101;

double processor_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Keeps freed memory in the process, so that no contender waits for the kernel to clear pages that
// another one returned.
void keep_memory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
}

// Makes the allocator merge the blocks that earlier runs freed. Otherwise the contender with the
// next large allocation would pay for the others.
void settle_memory() {
    void* volatile large = std::malloc(std::size_t{1} << 20U);
    std::free(large);
}

struct spread {
    double least;
    double lower_quartile;
    double median;
    double upper_quartile;
    double most;
};

spread spread_of(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto at = [&](double part) {
        return values[static_cast<std::size_t>(
            std::lround(part * static_cast<double>(values.size() - 1)))];
    };
    return {values.front(), at(0.25), at(0.5), at(0.75), values.back()};
}

// The times of `a` relative to those of `b`, round by round.
spread ratio(const std::vector<double>& a, const std::vector<double>& b) {
    std::vector<double> ratios(a.size());
    std::transform(a.begin(), a.end(), b.begin(), ratios.begin(), std::divides<>());
    return spread_of(std::move(ratios));
}

}  // namespace

void require(bool condition, std::string_view message) {
    if (!condition) {
        std::fprintf(stderr, "not comparable: %.*s\n", static_cast<int>(message.size()),
                     message.data());
        std::exit(1);
    }
}

side_by_side::side_by_side(std::string title, std::string item, std::size_t items)
    : title_(std::move(title)), item_(std::move(item)), items_(items) {}

void side_by_side::add(std::string name, work run, work prepare) {
    contenders_.push_back({std::move(name), std::move(run), std::move(prepare), 1, {}});
}

void side_by_side::expect_faster(std::string name, std::string other, double factor) {
    expectations_.push_back({std::move(name), std::move(other), factor, false});
}

void side_by_side::expect_within(std::string name, std::string other, double factor) {
    expectations_.push_back({std::move(name), std::move(other), factor, true});
}

double side_by_side::measure(const contender& c) {
    double seconds = 0;
    if (!c.prepare) {
        const double start = processor_seconds();
        for (unsigned i = 0; i < c.repeats; ++i) {
            c.run();
        }
        return (processor_seconds() - start) / c.repeats;
    }
    for (unsigned i = 0; i < c.repeats; ++i) {
        c.prepare();
        settle_memory();
        const double start = processor_seconds();
        c.run();
        seconds += processor_seconds() - start;
    }
    return seconds / c.repeats;
}

// The first run of each contender warms up; the second determines how often to repeat it.
void side_by_side::calibrate() {
    for (contender& c : contenders_) {
        measure(c);
        const double once = std::max(measure(c), 1e-7);
        c.repeats = static_cast<unsigned>(std::ceil(shortest_measurement / once));
    }
}

void side_by_side::run() {
    keep_memory();
    calibrate();
    double spent = 0;
    for (int round = 0; round < most_rounds; ++round) {
        if (round >= fewest_rounds && spent > longest_table) {
            break;
        }
        for (std::size_t i = 0; i < contenders_.size(); ++i) {
            contender& c = contenders_[round % 2 == 0 ? i : contenders_.size() - 1 - i];
            c.seconds.push_back(measure(c));
            spent += c.seconds.back() * c.repeats;
        }
    }
    print();
}

const side_by_side::contender& side_by_side::find(const std::string& name) const {
    const auto found = std::find_if(contenders_.begin(), contenders_.end(),
                                    [&](const contender& c) { return c.name == name; });
    require(found != contenders_.end(), "no contender named " + name);
    return *found;
}

void side_by_side::print() const {
    const contender& reference = contenders_.front();
    std::printf("\n%s: %zu items, %zu rounds\n", title_.c_str(), items_, reference.seconds.size());
    std::printf("  %-34s %12s   %s\n", "", ("ns a " + item_).c_str(),
                ("times as fast as " + reference.name + " (quartiles; extremes)").c_str());
    for (const contender& c : contenders_) {
        const double median = spread_of(c.seconds).median;
        std::printf("  %-34s %12.1f", c.name.c_str(), median * 1e9 / static_cast<double>(items_));
        if (&c != &reference) {
            const spread r = ratio(reference.seconds, c.seconds);
            std::printf("   %8.2f (%.2f .. %.2f; %.2f .. %.2f)", r.median, r.lower_quartile,
                        r.upper_quartile, r.least, r.most);
        }
        std::printf("\n");
    }
    for (const expectation& e : expectations_) {
        print(e);
    }
    std::fflush(stdout);
}

void side_by_side::print(const expectation& e) const {
    const std::vector<double>& ours = find(e.name).seconds;
    const std::vector<double>& theirs = find(e.other).seconds;
    const spread r = e.is_limit ? ratio(ours, theirs) : ratio(theirs, ours);
    const bool met = e.is_limit ? r.median <= e.factor : r.median >= e.factor;
    std::printf("  %s: %s %s %.2f %s %s (%.2f .. %.2f), goal %s %g\n", met ? "met" : "MISSED",
                e.name.c_str(), e.is_limit ? "takes" : "is", r.median,
                e.is_limit ? "times the time of" : "times as fast as", e.other.c_str(),
                r.lower_quartile, r.upper_quartile, e.is_limit ? "at most" : "at least", e.factor);
}

}  // namespace bench
