#ifndef DP_TESTS_SYSTEM_DPCTL_SAMPLE_SERVER_FILES_HPP
#define DP_TESTS_SYSTEM_DPCTL_SAMPLE_SERVER_FILES_HPP

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// A setting of a `server_files`.
struct sample_setting {
    std::string name;                                        ///< COLLECTION.ATTRIBUTE[.INSTANCE]
    std::vector<std::pair<std::string, std::string>> items;  ///< of the attribute; key and value
    std::string pending;                                     ///< "(none)": no values
    std::string current;
};

/// The files of a server in $DP_ROOT, without a service: template, pending and current values. A
/// script replaces the tool that expands the template.
class server_files {
  public:
    /// Empties $DP_ROOT and writes the script.
    server_files();

    /// Writes the template and the values.
    void install(const std::vector<sample_setting>& settings) const;

    /// Writes them from texts.
    void install_texts(const std::string& collections, const std::string& attributes,
                       const std::string& pending, const std::string& current) const;
};

/// The settings of most tests: an enumeration, a number, a string, a read-only setting, one with
/// two instances, and an attribute "Mode" in two collections.
std::vector<sample_setting> sample_settings();

/// A template record of the setting's attribute.
std::string attribute_record(const sample_setting& setting);

/// A line of a file of values.
std::string value_line(const std::string& name, const std::string& value);

/// The values in the settings file.
std::map<std::string, std::string> pending_values();

/// Changes values in the settings file.
void store_pending(const std::map<std::string, std::string>& values);

}  // namespace test

#endif
