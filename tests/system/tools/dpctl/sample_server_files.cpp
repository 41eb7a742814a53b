#include "tests/system/tools/dpctl/sample_server_files.hpp"

#include <cstddef>
#include <set>
#include <sstream>

#include "batch/batch_file_settings_rdr.hpp"
#include "common/quoting.hpp"
#include "tests/support/scratch_files.hpp"
#include "tests/system/tools/dpctl/replace_file.hpp"

namespace test {

std::string attribute_record(const sample_setting& setting) {
    const std::size_t dot = setting.name.find('.');
    std::string record = "id:" + setting.name.substr(dot + 1) + '\x95' +
                         "cfg:" + setting.name.substr(0, dot) + '\x95';
    for (const auto& [key, value] : setting.items) {
        record += key + ':' + value + '\x95';
    }
    return record + "\xA7\n";
}

std::string value_line(const std::string& name, const std::string& value) {
    return "0 0 t set " + name + " \"" + dp::add_backslash(value) + "\" \"\" \n";
}

server_files::server_files() {
    clean_root();
    // The library runs dpspy -sf -i TEMPLATE -o TEXT, and with -sc for the collections. The text is
    // replaced atomically because another process may be reading it.
    write_script(root() + "/bin/dpspy",
                 "[ -e \"$3\" ] || exit 1\n"
                 "case $1 in\n"
                 "  -sf) cp \"$DP_ROOT/attributes\" \"$5.$$\" ;;\n"
                 "  -sc) cp \"$DP_ROOT/collections\" \"$5.$$\" ;;\n"
                 "esac && mv \"$5.$$\" \"$5\"");
}

void server_files::install_texts(const std::string& collections, const std::string& attributes,
                                 const std::string& pending, const std::string& current) const {
    write_file(root() + "/collections", collections);
    write_file(root() + "/attributes", attributes);
    write_file(root() + "/var/dp/uefi_settings.txt", pending);
    write_file(root() + "/var/dp/uefi_current.txt", current);
    write_file(root() + "/var/dp/uefi_template.efi", "a template");
}

void server_files::install(const std::vector<sample_setting>& settings) const {
    std::string collections;
    std::string attributes;
    std::string pending;
    std::string current;
    std::set<std::string> known;
    for (const auto& setting : settings) {
        const std::string collection = setting.name.substr(0, setting.name.find('.'));
        if (known.insert(collection).second) {
            collections += collection + '\n';
        }
        // An instance follows its attribute, which has the items.
        const auto is_instance = setting.items.empty();
        if (!is_instance) {
            attributes += attribute_record(setting);
        }
        if (setting.pending != "(none)") {
            pending += value_line(setting.name, setting.pending);
            current += value_line(setting.name, setting.current);
        }
    }
    install_texts(collections, attributes, pending, current);
}

std::vector<sample_setting> sample_settings() {
    return {
        {"Boot.Mode",
         {{"type", "1"},
          {"num", "3"},
          {"chc", "Legacy,UEFI,Fast Boot"},
          {"dft", "UEFI"},
          {"dsc", "Boot mode"},
          {"fds", "How the server starts."},
          {"grp", "./Setup/Boot"}},
         "Legacy",
         "UEFI"},
        {"Boot.Delay",
         {{"type", "3"}, {"min", "0"}, {"max", "100"}, {"stp", "5"}, {"dft", "10"}},
         "10",
         "10"},
        {"Boot.Tag",
         {{"type", "4"}, {"minc", "0"}, {"maxc", "200"}, {"reg", "^[ -~]*$"}, {"dft", ""}},
         "",
         ""},
        {"Boot.Serial", {{"type", "5"}, {"flg", "1"}, {"dft", "none"}}, "S123", "S123"},
        {"Boot.Order", {{"type", "4"}, {"mni", "1"}, {"mxi", "2"}, {"dft", "Disk"}}, "(none)", ""},
        {"Boot.Order.1", {}, "Disk", "Disk"},
        {"Boot.Order.2", {}, "Net", "Net"},
        {"Memory.Mode", {{"type", "1"}, {"num", "2"}, {"chc", "A,B"}, {"dft", "A"}}, "A", "A"},
        {"Memory.Speed", {{"type", "3"}, {"dft", "0"}}, "3200", "3200"},
    };
}

std::map<std::string, std::string> pending_values() {
    std::vector<std::string> names;
    std::vector<std::string> values;
    dp::batch_file_settings_rdr reader(&names, &values);
    std::istringstream in(read_file(root() + "/var/dp/uefi_settings.txt"));
    reader.read_file(in, nullptr);
    std::map<std::string, std::string> found;
    for (std::size_t i = 0; i < names.size(); ++i) {
        found[names[i]] = values[i];
    }
    return found;
}

void store_pending(const std::map<std::string, std::string>& values) {
    const std::string path = root() + "/var/dp/uefi_settings.txt";
    std::istringstream in(read_file(path));
    std::string content;
    std::string line;
    while (std::getline(in, line)) {
        const std::size_t start = line.find(" set ") + 5;
        const std::string name = line.substr(start, line.find(' ', start) - start);
        const auto found = values.find(name);
        content += found == values.end() ? line + '\n' : value_line(name, found->second);
    }
    replace_file(path, content);
}

}  // namespace test
