#ifndef DP_TESTS_SUPPORT_REDFISH_PROCESS_HPP
#define DP_TESTS_SUPPORT_REDFISH_PROCESS_HPP

#include <sys/types.h>

#include <csignal>
#include <string>
#include <vector>

namespace test {

/// What curl received.
struct curl_answer {
    unsigned status = 0;  ///< 0: none
    std::string head;     ///< the status line and the fields of the last response
    std::string body;
    std::string problem;  ///< what curl wrote to its standard error

    /// The value of a field; empty if there is none. The name's case of letters does not matter.
    [[nodiscard]] std::string field(const std::string& name) const;
};

/// dp_redfishd as a process, with its state in $DP_ROOT/redfish, on a free port. Waiting for it
/// ends after `patience`.
class redfish_process {
  public:
    redfish_process() = default;
    /// Kills the process if it is still running.
    ~redfish_process();
    redfish_process(const redfish_process&) = delete;
    redfish_process& operator=(const redfish_process&) = delete;

    /// Options of the command line, in addition to the port, the state folder and --allow-root.
    std::vector<std::string> options;

    /// Starts it and waits until it is ready. False when it ended instead; see `wait` and `log`.
    bool start();

    void send(int signal) const;
    /// Waits until it ends. Returns its exit code, or 128 plus the number of the signal that ended
    /// it; -1 when it had to be killed.
    int wait();
    /// `send` and `wait`.
    int stop(int signal = SIGTERM);

    /// "https://127.0.0.1:PORT", from its ready line.
    [[nodiscard]] const std::string& url() const { return url_; }

    /// Its standard error since the last start.
    [[nodiscard]] static std::string log();
    /// A file in its state folder.
    [[nodiscard]] static std::string state(const std::string& name);
    /// The password that it generated for "admin" at its first start.
    [[nodiscard]] static std::string first_password();

    /// Runs curl with these arguments, and the URL of `path`. Trusts its certificate, and no other.
    [[nodiscard]] curl_answer curl(const std::string& path,
                                   const std::vector<std::string>& arguments = {}) const;
    /// `curl` as "admin" with the first password, and a JSON body if `body` is not empty.
    [[nodiscard]] curl_answer ask(const std::string& method, const std::string& path,
                                  const std::string& body = "",
                                  const std::vector<std::string>& arguments = {}) const;

  private:
    pid_t pid_ = 0;
    int out_ = -1;
    std::string url_;
};

}  // namespace test

#endif
