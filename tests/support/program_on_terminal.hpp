#ifndef DP_TESTS_SUPPORT_PROGRAM_ON_TERMINAL_HPP
#define DP_TESTS_SUPPORT_PROGRAM_ON_TERMINAL_HPP

#include <sys/types.h>
#include <termios.h>

#include <string>
#include <vector>

namespace test {

/// Runs a program of this build on a new terminal, as a user would.
class program_on_terminal {
  public:
    /// The environment of this process is used. A size of 0 is unknown to the terminal.
    program_on_terminal(const std::string& name, const std::vector<std::string>& arguments,
                        unsigned short columns = 0, unsigned short rows = 0);
    /// Kills the program if it is still running.
    ~program_on_terminal();
    program_on_terminal(const program_on_terminal&) = delete;
    program_on_terminal& operator=(const program_on_terminal&) = delete;

    /// Types keys.
    void type(const std::string& keys) const;
    /// Sends the program a signal.
    void send(int signal) const;
    /// Closes the terminal, as a closed window or a lost connection does.
    void hang_up();

    /// Everything that the terminal has shown so far, echoed keys included.
    const std::string& output();

    /// Whether the terminal has the settings that it had before the program ran.
    [[nodiscard]] bool has_initial_settings() const;

    /// Waits until the program ends. Returns its exit code, or 128 plus the number of the signal
    /// that ended it; -1 when it does not end within `patience`.
    int wait();

  private:
    bool has_ended();
    void read_output();

    pid_t pid_ = -1;
    int status_ = 0;
    int user_end_ = -1;
    int program_end_ = -1;
    termios initial_{};
    std::string output_;
};

}  // namespace test

#endif
