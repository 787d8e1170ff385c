// The generic interface of one LED's configuration: what it shows, readable and settable by name
// as an LED policy would set it.
#include "platform/model/LedConfig.h"
#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Led {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, lightSetting, ledAttribute, theme, mode, currentMode };

Reply modes(LedConfig& led, Request const& request) {
  if (request.operation == Operation::iterate) return Reply::of(membersOf(led.mode()));
  Zel::Name const& key = request.requireKey();
  Value const held = memberOf(led.mode(), key);
  if (request.operation == Operation::set) {
    led.modeIs(key, request.args().at(0, "mode").as<::Led::LightSetting>());
    return Reply::of(memberOf(led.mode(), key));
  }
  if (request.operation == Operation::del) led.modeDel(key);
  return Reply::of(held);
}

Reply dispatchLed(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& led = objectAs<LedConfig>(object);
  bool const isSet = request.operation == Operation::set;
  Arguments const& args = request.args();
  switch (position) {
    case name:
      return Reply::of(led.name());
    case lightSetting:
      if (isSet) led.lightSettingIs(args.at(0, "lightSetting").as<::Led::LightSetting>());
      return Reply::of(led.lightSetting());
    case ledAttribute:
      if (isSet) led.ledAttributeIs(args.at(0, "ledAttribute").asU32());
      return Reply::of(led.ledAttribute());
    case theme:
      if (isSet) led.themeIs(args.at(0, "theme").asName());
      return Reply::of(led.theme());
    case mode:
      return modes(led, request);
    case currentMode:
      if (isSet) led.currentModeIs(args.at(0, "currentMode").asName());
      return Reply::of(led.currentMode());
  }
  return Reply::notHandled();
}

constexpr Operations kReadWrite{Operation::get, Operation::set};
using Attr = LedConfig::Attr;
AttributeTable const table(
    LedConfig::type(),
    {
        valueAttribute("name", "Zel::Name", {Operation::get}),
        valueAttribute("lightSetting", "Led::LightSetting", kReadWrite, Attr::lightSetting),
        valueAttribute("ledAttribute", "U32", kReadWrite, Attr::ledAttribute),
        valueAttribute("theme", "Zel::Name", kReadWrite, Attr::theme),
        collectionAttribute("mode", "Led::LightSetting",
                            {Operation::get, Operation::set, Operation::del, Operation::iterate},
                            {}, Attr::mode),
        valueAttribute("currentMode", "Zel::Name", kReadWrite, Attr::currentMode),
    },
    &dispatchLed);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Led
