// The one way the agent's input entities are changed, whatever fills the input directories: the
// host's script publisher on the in-memory database, the mirror of a database server, anything
// later. Both the order of the changes and their granularity are what the agent sees, so they are
// the same for every database:
// - set: the published entity changes in place. Of a mapping, each listed colour's pin set
//   first loses the names it no longer holds and then gains the new ones, colour by colour in
//   pin order, and `ready` comes last: a mapping never shows the agent new pins under an old
//   `ready`. An equal value changes nothing and notifies no one.
// - replace, or set of an entity that is not there: a new entity is built whole and inserted in
//   one step.
// - remove: the entity goes.
// Decoding (script commands, table hashes) stays with each writer; this sees decoded values.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/inputs/InputChange.h"
#include "platform/model/GpioLedSystemConfigDir.h"
#include "platform/model/LedSystemConfigDir.h"
#include "platform/model/PinColour.h"

namespace Inputs {

// A change's fields of a GPIO LED mapping. A colour without a list, or no `ready`, keeps what is
// published on `set` and is empty (not ready) in a new mapping.
struct MappingFields {
  std::array<std::optional<std::vector<std::string_view>>, Hardware::Gpio::kPinColourCount> pins;
  std::optional<bool> ready;
};

// Each returns whether the directory held an entity of that name before the change. `fields` is
// not read by a removal.
bool mappingApplied(Hardware::Gpio::GpioLedSystemConfigDir& mappings, Zel::Name const& name,
                    InputChange change, MappingFields const& fields = {});

// Of `setting` only what a writer of LED configuration owns is taken: the four colours and the
// flash interval. The model's further fields keep the published entity's values on `set`, and
// start at their defaults in a new entity.
bool ledApplied(Hardware::Led::LedSystemConfigDir& leds, Zel::Name const& name, InputChange change,
                Led::LightSetting const& setting = {});

}  // namespace Inputs
