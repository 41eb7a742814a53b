#ifndef DP_BENCH_SUPPORT_SIDE_BY_SIDE_HPP
#define DP_BENCH_SUPPORT_SIDE_BY_SIDE_HPP

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// Keeps the compiler from removing the computation of `value`.
template <class Value>
void keep(const Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

/// Ends the program with `message` if `condition` is false: contenders with different results are
/// not comparable.
void require(bool condition, std::string_view message);

/// Measures contenders that do the same work on the same items, in one process. They run in turn in
/// many short rounds, in reverse order every other round, so that a temporary slowdown of the
/// machine affects all of them. The result is the ratios within each round; their spread shows how
/// reliable they are. Times are the thread's processor time.
class side_by_side {
  public:
    using work = std::function<void()>;

    /// Times are printed for one `item` ("line"); the `work` of a contender processes `items`
    /// items.
    side_by_side(std::string title, std::string item, std::size_t items);

    /// Adds a contender. The first one is the reference. `prepare` is called before each run and
    /// not measured.
    void add(std::string name, work run, work prepare = {});

    /// Adds a line below the table: whether `name` was at least `factor` times as fast as `other`.
    void expect_faster(std::string name, std::string other, double factor);

    /// Adds a line below the table: whether `name` took at most `factor` times the time of `other`.
    void expect_within(std::string name, std::string other, double factor);

    /// Measures and prints the table.
    void run();

  private:
    struct contender {
        std::string name;
        work run;
        work prepare;
        unsigned repeats = 1;         // runs in a round, so that short ones can be measured
        std::vector<double> seconds;  // of one run, by round
    };
    struct expectation {
        std::string name;
        std::string other;
        double factor;
        bool is_limit;  // of time, not of speed
    };

    static double measure(const contender& c);
    void calibrate();
    [[nodiscard]] const contender& find(const std::string& name) const;
    void print() const;
    void print(const expectation& e) const;

    std::string title_;
    std::string item_;
    std::size_t items_;
    std::vector<contender> contenders_;
    std::vector<expectation> expectations_;
};

}  // namespace bench

#endif
