#ifndef FAN_PLUGIN_HPP
#define FAN_PLUGIN_HPP

#include <settings/configuration.hpp>
#include <settings/plugin.hpp>
#include <settings/setting.hpp>
#include <settings/setting_element.hpp>
#include <transactions/setting_transaction.hpp>
#include <transactions/transaction_command.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// Describes Fans.Speed: four instances, percentages from 20 to 100.
class speed_element : public dp::setting_element {
  public:
    /// The status of a value outside the range; a plug-in's codes are its own.
    static constexpr std::int32_t not_a_speed = 100;

    speed_element() {
        min_instance = 1;
        max_instance = 4;
    }
    /// "40%" becomes "40".
    bool map_value(std::string* value) override;
    std::string default_value() override { return "30"; }
    std::int32_t validate(const std::string& value) override;
};

/// Owns the settings Fans.Speed.1 to Fans.Speed.4. The fan controller that it asks takes its time;
/// here a timer plays its part. The host polls `descriptor` meanwhile.
class fan_plugin : public dp::plugin {
  public:
    fan_plugin();
    ~fan_plugin();

    /// The configuration that the host adds.
    dp::configuration& fans() { return fans_; }

    /// Becomes readable when the fan controller has answered. The host then calls `on_answer`.
    [[nodiscard]] int descriptor() const { return timer_; }
    void on_answer(dp::registrar& reg);

    void on_start(dp::registrar& reg) override;
    void process_transaction(dp::registrar& reg, dp::transaction* trans) override;
    void on_stop(dp::registrar& reg) override;

  private:
    struct fan_configuration : dp::configuration {
        fan_configuration() : configuration("Fans") {}
    };

    void execute(dp::transaction_command& command);

    speed_element element_;
    fan_configuration fans_;
    dp::setting speed_{&fans_, "Speed", this, &element_};
    std::array<std::string, 4> speeds_{"30", "30", "30", "30"};  // what the fan controller knows
    int timer_;
    dp::setting_transaction* waiting_ = nullptr;  // not owned
};

#endif
