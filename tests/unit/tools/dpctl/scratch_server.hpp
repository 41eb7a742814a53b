#ifndef DP_TESTS_UNIT_TOOLS_DPCTL_SCRATCH_SERVER_HPP
#define DP_TESTS_UNIT_TOOLS_DPCTL_SCRATCH_SERVER_HPP

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace test {

/// One attribute for the template: its items beside id and cfg, and the values of its settings.
struct sample_setting {
    std::string name;                                        ///< COLLECTION.ATTRIBUTE
    std::vector<std::pair<std::string, std::string>> items;  ///< key and value
    std::string pending;
    std::string current;
};

/// A server in $DP_ROOT, written down: a template that a script "expands", and files of values.
class scratch_server {
  public:
    /// Empties $DP_ROOT. The tool that expands the template is there, the template is not.
    scratch_server();

    /// Writes template and files of values.
    void install(const std::vector<sample_setting>& settings) const;

    /// The same out of texts as they are.
    void install_texts(const std::string& collections, const std::string& attributes,
                       const std::string& pending, const std::string& current) const;
};

/// The settings that most tests use: an enumeration, a number, a string, one that is read-only, one
/// with two instances, and an attribute "Mode" in two collections.
std::vector<sample_setting> sample_settings();

/// One attribute record, and one line of a file of values.
std::string attribute_record(const sample_setting& setting);
std::string value_line(const std::string& name, const std::string& value);

/// One command of a batch, as the service got it.
struct batch_command {
    std::string correlator;
    std::string operation;
    std::string name;
    std::string value;
};

/// Stands in for the settings service, in a thread: takes batches of `length` commands, and writes
/// what `answer` makes of them.
class fake_service {
  public:
    using answer_function = std::function<std::string(const std::vector<batch_command>&)>;

    fake_service(std::size_t length, answer_function answer);
    ~fake_service();
    fake_service(const fake_service&) = delete;
    fake_service& operator=(const fake_service&) = delete;

    /// The batches so far; ask when the client has ended.
    [[nodiscard]] const std::vector<std::vector<batch_command>>& batches() const {
        return batches_;
    }

  private:
    void serve();

    std::size_t length_;
    answer_function answer_;
    std::vector<std::vector<batch_command>> batches_;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

/// A line of the answer.
std::string answer_line(const batch_command& command, unsigned status);

/// Puts values into the settings file, as the service does before it answers.
void store_pending(const std::map<std::string, std::string>& values);

}  // namespace test

#endif
