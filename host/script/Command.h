// The commands of a warden script, one struct per command, as the parser hands them to the
// executor. Names are plain strings here so that a script can be parsed and checked without a
// database or an agent.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/model/PinColour.h"

namespace Host {

// The colour elements of an LED are the model's (its colour table names them).
using Colour = Hardware::Gpio::PinColour;
inline constexpr std::size_t kColourCount = Hardware::Gpio::kPinColourCount;

// `set mapping` and `replace mapping`: a colour that is not named is nullopt.
struct MappingCommand {
  std::string led;
  bool replace = false;
  std::array<std::optional<std::vector<std::string>>, kColourCount> pins;
  std::optional<bool> ready;
};

// `set led` and `replace led`: exactly the colours in `lit` are lit.
struct LedCommand {
  std::string led;
  bool replace = false;
  std::array<bool, kColourCount> lit{};
  double flashInterval = 0.0;
};

struct RemoveCommand {
  enum class What { mapping, led };
  What what = What::mapping;
  std::string led;
};

struct WaitCommand {
  double seconds = 0.0;
};

// `expect pin PIN VALUE`, or `expect no pin PIN` when there is no value.
struct ExpectPinCommand {
  std::string pin;
  std::optional<std::uint32_t> value;
};

struct ExpectMachineCommand {
  std::string led;
  bool present = true;
};

struct ExpectTraceCommand {
  int level = 0;
  std::string text;
  bool present = true;
};

struct ExpectRaisedCommand {
  std::string prefix;
};

struct ShowCommand {
  enum class What { pins, leds, agent };
  What what = What::pins;
};

struct TraceCommand {
  std::string facility;
  std::uint32_t levels = 0;
};

struct QuitCommand {};

using Command = std::variant<MappingCommand, LedCommand, RemoveCommand, WaitCommand,
                             ExpectPinCommand, ExpectMachineCommand, ExpectTraceCommand,
                             ExpectRaisedCommand, ShowCommand, TraceCommand, QuitCommand>;

// Expectations check what the last other command did; every other command starts a new window.
bool isExpectation(Command const& command);

}  // namespace Host
