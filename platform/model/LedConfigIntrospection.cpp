// The generic interface of one LED's configuration: what it shows, readable and settable by name
// as an LED policy would set it.
#include "platform/model/LedConfig.h"
#include "platform/model/LightSettingValueKind.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Led {
namespace {

using namespace Zel::GenericIf;

Reply modes(LedConfig& led, Request const& request) {
  if (request.operation == Operation::iterate) return Reply::of(membersOf(led.mode()));
  Zel::Name const& key = request.requireKey();
  Value const held = memberOf(led.mode(), key);
  if (request.operation == Operation::set) {
    led.modeIs(key, request.arg(0).as<::Led::LightSetting>());
    return Reply::of(memberOf(led.mode(), key));
  }
  if (request.operation == Operation::del) led.modeDel(key);
  return Reply::of(held);
}

constexpr Operations kReadWrite{Operation::get, Operation::set};
using Attr = LedConfig::Attr;
AttributeTable const table(
    LedConfig::type(),
    Rows<LedConfig>{
        {valueAttribute("name", "Zel::Name", {Operation::get}),
         [](LedConfig& led, Request const&) { return Reply::of(led.name()); }},
        {valueAttribute("lightSetting", "Led::LightSetting", kReadWrite, Attr::lightSetting),
         [](LedConfig& led, Request const& request) {
           if (request.operation == Operation::set) {
             led.lightSettingIs(request.arg(0).as<::Led::LightSetting>());
           }
           return Reply::of(led.lightSetting());
         }},
        {valueAttribute("ledAttribute", "U32", kReadWrite, Attr::ledAttribute),
         [](LedConfig& led, Request const& request) {
           if (request.operation == Operation::set) led.ledAttributeIs(request.arg(0).asU32());
           return Reply::of(led.ledAttribute());
         }},
        {valueAttribute("theme", "Zel::Name", kReadWrite, Attr::theme),
         [](LedConfig& led, Request const& request) {
           if (request.operation == Operation::set) led.themeIs(request.arg(0).asName());
           return Reply::of(led.theme());
         }},
        {collectionAttribute("mode", "Led::LightSetting",
                             {Operation::get, Operation::set, Operation::del, Operation::iterate},
                             {}, Attr::mode),
         &modes},
        {valueAttribute("currentMode", "Zel::Name", kReadWrite, Attr::currentMode),
         [](LedConfig& led, Request const& request) {
           if (request.operation == Operation::set) led.currentModeIs(request.arg(0).asName());
           return Reply::of(led.currentMode());
         }},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Led
