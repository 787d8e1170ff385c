#include "platform/redis/Backend.h"

namespace Statedb::Redis {

namespace {

// Where the pin table stands in the list the walk is made with.
constexpr std::size_t kPinRows = 2;

}  // namespace

std::unique_ptr<Backend> Backend::backendIs(Zel::ActivityManager& loop,
                                            BackendOptions const& options,
                                            Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                                            Hardware::Led::LedSystemConfigDir& leds, Zel::Dir& pins,
                                            Log log, std::string& error) {
  auto endpoint = endpointFor(options.server, error);
  if (!endpoint) return nullptr;
  return std::make_unique<Backend>(loop, *endpoint, options.link, mappings, leds, pins,
                                   std::move(log));
}

Backend::Backend(Zel::ActivityManager& loop, Endpoint endpoint, LinkSettings settings,
                 Hardware::Gpio::GpioLedSystemConfigDir& mappings,
                 Hardware::Led::LedSystemConfigDir& leds, Zel::Dir& pins, Log log)
    : loop_(loop),
      link_(loop, std::move(endpoint), {kLedTable, kMappingTable}, settings, log),
      mirror_(loop, link_, mappings, leds, log),
      pinWriter_(loop, link_, pins, log),
      scan_(
          link_, {kLedTable, kMappingTable, kPinTable},
          [this](std::size_t table, std::string_view key) {
            if (table == kPinRows) {
              pinWriter_.rowFound(key);
            } else {
              mirror_.keyFound(key);
            }
          },
          [this] {
            mirror_.scanEnded();
            pinWriter_.scanEnded();
          }) {
  link_.listenerIs(this);
  mirror_.resyncedHandlerIs([this] { inputsRead(); });
}

void Backend::onLinkUp() {
  ++connection_;
  // Subscribed already: whatever changes from here on is notified, so a whole read now misses
  // nothing.
  mirror_.resync();
  pinWriter_.rewrite();
  scan_.start();
  if (upHandler_) upHandler_(true);
}

void Backend::onLinkDown() {
  ++connection_;
  scan_.stop();
  mirror_.linkDown();
  pinWriter_.linkDown();
  if (upHandler_) upHandler_(false);
}

void Backend::inputsRead() {
  // Once the agent has reacted to the whole read: its pins then stand as its inputs imply.
  afterIdle([this, connection = connection_] {
    if (connection != connection_) return;
    link_.wholeReadDone();
    pinWriter_.inputsRead();
  });
}

void Backend::afterIdle(std::function<void()> then) {
  // At the end of the turn, once what the agent queued in reaction has run; work that turn-end
  // work queues in turn goes ahead of the next try.
  loop_.turnEndTaskIs([this, then = std::move(then)]() mutable {
    if (loop_.pendingCount() > 0) return afterIdle(std::move(then));
    then();
  });
}

void Backend::barrier(std::function<void()> done) {
  link_.probe([this, done = std::move(done)]() mutable {
    mirror_.whenQuiet([this, done = std::move(done)]() mutable {
      afterIdle([this, done = std::move(done)]() mutable {
        pinWriter_.whenRewritten([this, done = std::move(done)]() mutable {
          pinWriter_.flush();
          auto shared = std::make_shared<std::function<void()>>(std::move(done));
          bool const sent = link_.command({"PING"}, [shared](Reply) { (*shared)(); });
          // Lost meanwhile: start over once the link is back.
          if (!sent) barrier(std::move(*shared));
        });
      });
    });
  });
}

}  // namespace Statedb::Redis
