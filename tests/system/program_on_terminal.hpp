#ifndef DP_TESTS_SYSTEM_PROGRAM_ON_TERMINAL_HPP
#define DP_TESTS_SYSTEM_PROGRAM_ON_TERMINAL_HPP

#include <sys/types.h>
#include <termios.h>

#include <string>
#include <vector>

namespace test {

/// A program of this build that runs on a terminal of its own, as a person would run it.
class program_on_terminal {
  public:
    program_on_terminal(const std::string& name, const std::vector<std::string>& arguments);
    /// Kills a program that still runs.
    ~program_on_terminal();
    program_on_terminal(const program_on_terminal&) = delete;
    program_on_terminal& operator=(const program_on_terminal&) = delete;

    /// Presses keys.
    void type(const std::string& keys) const;
    /// Sends the program a signal.
    void send(int signal) const;
    /// Takes the terminal away, as a closed window or a lost connection does.
    void hang_up();

    /// Everything that the terminal got so far, also what it echoed of the keys.
    const std::string& output();

    /// Whether the terminal is set up just as before the program ran.
    [[nodiscard]] bool is_as_before() const;

    /// Waits for the program's end. Its exit code, or 128 and the number of the signal that ended
    /// it; -1 when it does not end in time.
    int wait();

  private:
    bool has_ended();
    void take_output();

    pid_t pid_ = -1;
    int status_ = 0;
    int terminal_ = -1;  ///< the person's side
    int line_ = -1;      ///< the program's side
    termios before_{};
    std::string output_;
};

}  // namespace test

#endif
