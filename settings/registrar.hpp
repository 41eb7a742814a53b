#ifndef DP_SETTINGS_REGISTRAR_HPP
#define DP_SETTINGS_REGISTRAR_HPP

#include <string>

#include "common/export.hpp"

namespace dp {

class qualified_setting_name;
class setting;
class transaction;

/// What the library needs of its host. The host implements it and calls and is called on its one
/// dispatching thread.
class DP_API registrar {
  public:
    registrar() = default;
    registrar(const registrar&) = delete;
    registrar& operator=(const registrar&) = delete;

    /// The setting that a qualified name stands for (its instance is not looked at), or null.
    virtual setting* resolve(const qualified_setting_name& name) = 0;

    /// The setting of that name in that configuration, or null.
    virtual setting* find_setting(const std::string& configuration_name,
                                  const std::string& setting_name) = 0;

    /// Takes a transaction for execution. It stays the caller's and must live until it is complete.
    virtual void queue_transaction(transaction* trans) = 0;

  protected:
    ~registrar() = default;
};

}  // namespace dp

#endif
