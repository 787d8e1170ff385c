// The generic interface of the directory of every LED's configuration.
#include "platform/model/LedSystemConfigDir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Led {
namespace {

using namespace Zel::GenericIf;

Reply themes(LedSystemConfigDir& dir, Request const& request) {
  if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.theme()));
  Zel::Name const& key = request.requireKey();
  Value const held = memberOf(dir.theme(), key);
  if (request.operation == Operation::set) {
    dir.themeIs(key, request.arg(0).asString());
    return Reply::of(memberOf(dir.theme(), key));
  }
  if (request.operation == Operation::del) dir.themeDel(key);
  return Reply::of(held);
}

using Attr = LedSystemConfigDir::Attr;
AttributeTable const table(
    LedSystemConfigDir::type(),
    Rows<LedSystemConfigDir>{
        {valueAttribute("name", "Zel::Name", {Operation::get}),
         [](LedSystemConfigDir& dir, Request const&) { return Reply::of(dir.name()); }},
        {collectionAttribute("leds", "Hardware::Led::LedConfig",
                             {Operation::get, Operation::iterate}, {}, Attr::leds),
         [](LedSystemConfigDir& dir, Request const& request) {
           if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.leds()));
           return Reply::of(memberOf(dir.leds(), request.requireKey()));
         }},
        {valueAttribute("palette", "Zel::String", {Operation::get, Operation::set}, Attr::palette),
         [](LedSystemConfigDir& dir, Request const& request) {
           if (request.operation == Operation::set) dir.paletteIs(request.arg(0).asString());
           return Reply::of(dir.palette());
         }},
        {collectionAttribute("theme", "Zel::String",
                             {Operation::get, Operation::set, Operation::del, Operation::iterate},
                             {}, Attr::theme),
         &themes},
    });
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Led
