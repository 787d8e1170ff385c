// Registers Led::LightSetting as a value kind of the generic interface, so that tools read and
// write light settings by name without the framework knowing the type.
#pragma once

#include "platform/model/LightSetting.h"
#include "platform/zel/generic/Value.h"

template <>
struct Zel::GenericIf::ValueKind<Led::LightSetting> {
  static constexpr char const* name = "light setting";
};
