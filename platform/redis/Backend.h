// The state database on a server: the agent's input directories follow the LED and mapping
// tables, and its output pins go to the pin table. Everything runs on the activity loop; while
// the server is away the agent goes on with what it last knew.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/redis/Link.h"
#include "platform/redis/Mirror.h"
#include "platform/redis/PinTableWriter.h"
#include "platform/redis/TableScan.h"

namespace Statedb::Redis {

struct BackendOptions {
  ServerAddress server;
  LinkSettings link;
};

class Backend final : private Link::Listener {
 public:
  // Null with `error` set when the address is bad or refused (see endpointFor).
  static std::unique_ptr<Backend> backendIs(Zel::ActivityManager& loop,
                                            BackendOptions const& options,
                                            Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                                            Hardware::Led::LedSystemConfigDir& leds, Zel::Dir& pins,
                                            Log log, std::string& error);

  Backend(Zel::ActivityManager& loop, Endpoint endpoint, LinkSettings settings,
          Hardware::Gpio::GpioLedSystemConfigDir& mappings, Hardware::Led::LedSystemConfigDir& leds,
          Zel::Dir& pins, Log log);

  void start() { link_.start(); }
  bool isUp() const noexcept { return link_.isUp(); }
  // Told each time the link comes up (true) or is lost (false), after the backend's own work.
  void upHandlerIs(std::function<void(bool up)> handler) { upHandler_ = std::move(handler); }
  // Calls `done` once every change published before now has reached the agent, the agent has
  // acted on it, and the pins it wrote are in the pin table.
  void barrier(std::function<void()> done);

  Link& link() noexcept { return link_; }
  Mirror& mirror() noexcept { return mirror_; }
  PinTableWriter& pinWriter() noexcept { return pinWriter_; }

 private:
  void onLinkUp() override;
  void onLinkDown() override;
  void onKeyTouched(std::string_view key, std::string_view event) override {
    mirror_.keyTouched(key, event);
  }
  void afterIdle(std::function<void()> then);
  void inputsRead();

  Zel::ActivityManager& loop_;
  Link link_;
  Mirror mirror_;
  PinTableWriter pinWriter_;
  // One walk finds the rows of all three tables for the mirror and the pin-table writer.
  TableScan scan_;
  std::function<void(bool up)> upHandler_;
  std::uint64_t connection_ = 0;  // counts ups and downs: a late callback finds it moved on
};

}  // namespace Statedb::Redis
