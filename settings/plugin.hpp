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

/// A module of the settings service that owns settings or templates, or acts for a client. The host
/// derives its plug-ins from this class, owns them, and calls them on its dispatching thread.
class DP_API plugin {
  public:
    /// The role of a plug-in.
    enum types : std::uint32_t {
        any_type = 0,        ///< matches any type in `plugin_list::find_plugin`
        template_owner = 1,  ///< has the template; the library never calls it
        settings_owner = 2,  ///< owns settings, and takes part in transactions
        client = 3,          ///< acts for a client; the library never calls it
    };

    /// A message that arrived on one of the host's queues.
    struct message_event {
        unsigned queue;                      ///< number of the queue
        std::vector<unsigned char> payload;  ///< the message, without its header
    };

    /// A watched file was completely written, replaced or removed.
    struct file_event {
        /// What happened to the file.
        enum class kinds : std::uint8_t {
            written,  ///< it has new content
            removed,  ///< it is gone
        };
        kinds kind;        ///< what happened
        std::string path;  ///< of the file
    };

    plugin(const plugin&) = delete;
    plugin& operator=(const plugin&) = delete;

    // The order of the virtual functions is part of the binary interface.

    /// Called once by the host when all plug-ins are in the list.
    virtual void on_start(registrar& reg) = 0;

    /// Runs the sub-step of a settings owner: executes the commands on its settings, marks them
    /// complete, and calls `transaction::substep_complete` exactly once, during this call or later
    /// on the same thread. The default calls it at once, which fails all open commands on its
    /// settings.
    ///
    /// Every settings owner gets every transaction, also one without commands for it. A transaction
    /// with commands is a `setting_transaction`, whoever made it: reach them with
    /// `dynamic_cast<setting_transaction*>(trans)` and its `commands`; null means that there are
    /// none. Execute a command if its `status` is 0, it is not `complete`, and this plug-in owns
    /// its `target.setting`. Looking at `complete` alone is not enough: a batch line whose status
    /// is no number below 256 is a command with status 255 that is not complete. Nobody has checked
    /// the instances of reads and writes (`setting_element::max_instance`).
    ///
    /// The transaction and its commands are valid until `transaction_complete` was called for it.
    virtual void process_transaction(registrar& reg, transaction* trans);

    /// Called by the host for each event. The defaults do nothing.
    /// @{
    virtual void on_event(registrar& reg, const message_event& event);
    virtual void on_event(registrar& reg, const file_event& event);
    /// @}

    /// Called once by the host before it removes the plug-in from the list.
    virtual void on_stop(registrar& reg) = 0;

    /// Called by the host when it adds a configuration. The default does nothing.
    virtual void on_add_configuration(registrar& reg, configuration* config);

    /// Called by the host, in this order, when it removes a configuration. The configuration exists
    /// until both have returned. The defaults do nothing.
    /// @{
    virtual void on_unregister_configuration(registrar& reg, configuration* config);
    virtual void on_remove_configuration(registrar& reg, configuration* config);
    /// @}

    /// Sends an alert, with `source` as its source, to the rest of the controller on message queue
    /// 8. Does not wait. An alert that cannot be sent is logged and dropped.
    void send_alert(command::alerts alert, unsigned char value) const;

    /// Returns the command line that starts a service with this process's log settings. When the
    /// application log has a mask, a level other than 8 and a file above 0, `command` is followed
    /// by " -f ", " -l " and " -m " with the file, the level and the mask. Starts nothing.
    static std::string create_service_command(const std::string& command);

    /// Returns the printed name of a type, a static text; "unknown" for any other value.
    static const char* map(types type);

    std::string name;         ///< unique among the host's plug-ins
    types type = any_type;    ///< does not change while the plug-in is in the list
    std::uint8_t source = 0;  ///< source number of its alerts; assigned by the host

  protected:
    plugin() = default;
    /// Sets the data below.
    plugin(std::string plugin_name, types plugin_type, std::uint8_t alert_source = 0);
    // Not virtual, because the interface has no slot for it; protected, so that nobody deletes
    // through it.
    ~plugin() = default;
};

/// Writes the name, ", type= " and the printed name of the type.
DP_API std::ostream& operator<<(std::ostream& os, const plugin& p);

}  // namespace dp

#endif
