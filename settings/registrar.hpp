#ifndef DP_SETTINGS_REGISTRAR_HPP
#define DP_SETTINGS_REGISTRAR_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

class qualified_setting_name;
class setting;
class transaction;

/// What the library needs from its host, which implements it. All calls are made on the host's
/// dispatching thread.
class DP_API registrar {
  public:
    registrar() = default;
    registrar(const registrar&) = delete;
    registrar& operator=(const registrar&) = delete;

    /// Returns the setting with that qualified name, or null. Ignores the name's instance.
    virtual setting* resolve(const qualified_setting_name& name) = 0;

    /// Returns the setting with that name in that configuration, or null.
    virtual setting* find_setting(const std::string& configuration_name,
                                  const std::string& setting_name) = 0;

    /// Queues a transaction for execution. It is not owned and must exist until it is complete.
    virtual void queue_transaction(transaction* trans) = 0;

  protected:
    ~registrar() = default;
};

}  // namespace dp

#endif
