#ifndef DP_SETTINGS_PLUGIN_HPP
#define DP_SETTINGS_PLUGIN_HPP

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "common/export.hpp"
#include "platform/dp/alerts.hpp"

namespace dp {

class configuration;
class registrar;
class transaction;

/// A part of the settings service that owns settings or templates, or acts for a client. The host
/// derives its plug-ins from this class, owns them, and calls them on its dispatching thread.
class DP_API plugin {
  public:
    enum types : std::uint32_t {
        any_type = 0,  ///< for `plugin_list::find_plugin`: any type
        template_owner = 1,
        settings_owner = 2,
        client = 3,
    };

    /// A message that arrived on one of the host's queues.
    struct message_event {
        unsigned queue;  ///< number of the queue
        std::vector<unsigned char> payload;
    };

    /// A file that the host watches was completely written, replaced or removed.
    struct file_event {
        enum class kinds : std::uint8_t { written, removed };
        kinds kind;
        std::string path;
    };

    plugin(const plugin&) = delete;
    plugin& operator=(const plugin&) = delete;

    // The order of the virtual operations is part of the binary interface.

    /// The host calls it once, when every plug-in is in the list.
    virtual void on_start(registrar& reg) = 0;

    /// The part of a settings owner in a transaction: carries out the commands whose settings it
    /// owns, marks them complete, and reports `transaction::substep_complete`, now or later on the
    /// same thread. The default reports at once, which fails every command left open.
    virtual void process_transaction(registrar& reg, transaction* trans);

    virtual void on_event(registrar& reg, const message_event& event);
    virtual void on_event(registrar& reg, const file_event& event);

    /// The host calls it once, before it takes the plug-in out of the list.
    virtual void on_stop(registrar& reg) = 0;

    virtual void on_add_configuration(registrar& reg, configuration* config);
    virtual void on_unregister_configuration(registrar& reg, configuration* config);
    virtual void on_remove_configuration(registrar& reg, configuration* config);

    /// Tells the rest of the controller, on message queue 8, that something happened here, with
    /// `source` as the alert's source. Does not wait; an alert that can't be sent is logged.
    void send_alert(command::alerts alert, unsigned char value) const;

    /// The command line that starts a service with this process's log settings: `command` and,
    /// where the application log has them (a mask, a level other than 8, a file above 0), " -f ",
    /// " -l " and " -m " with the file, the level and the mask. Runs nothing.
    static std::string create_service_command(const std::string& command);

    /// The printed name of a type; "unknown" for any other value.
    static const char* map(types type);

    std::string name;  ///< unique among the host's plug-ins
    types type = any_type;
    /// Identifies the plug-in as the source of its alerts; the host assigns it.
    std::uint8_t source = 0;

  protected:
    plugin() = default;
    plugin(std::string plugin_name, types plugin_type, std::uint8_t alert_source = 0);
    // Not virtual, and protected: the interface has no slot for it, so nobody deletes through it.
    ~plugin() = default;
};

/// Writes name, ", type= " and the type's printed name.
DP_API std::ostream& operator<<(std::ostream& os, const plugin& p);

}  // namespace dp

#endif
