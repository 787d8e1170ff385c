// The generic interface of the directory of every LED's configuration.
#include "platform/model/LedSystemConfigDir.h"
#include "platform/zel/generic/AttributeTable.h"

namespace Hardware::Led {
namespace {

using namespace Zel::GenericIf;

enum Position : std::size_t { name, leds, palette, theme };

Reply themes(LedSystemConfigDir& dir, Request const& request) {
  if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.theme()));
  Zel::Name const& key = request.requireKey();
  Value const held = memberOf(dir.theme(), key);
  if (request.operation == Operation::set) {
    dir.themeIs(key, request.args().at(0, "theme").asString());
    return Reply::of(memberOf(dir.theme(), key));
  }
  if (request.operation == Operation::del) dir.themeDel(key);
  return Reply::of(held);
}

Reply dispatchDir(Zel::PtrInterface& object, std::size_t position, Request const& request) {
  auto& dir = objectAs<LedSystemConfigDir>(object);
  switch (position) {
    case name:
      return Reply::of(dir.name());
    case leds:
      if (request.operation == Operation::iterate) return Reply::of(membersOf(dir.leds()));
      return Reply::of(memberOf(dir.leds(), request.requireKey()));
    case palette:
      if (request.operation == Operation::set) {
        dir.paletteIs(request.args().at(0, "palette").asString());
      }
      return Reply::of(dir.palette());
    case theme:
      return themes(dir, request);
  }
  return Reply::notHandled();
}

using Attr = LedSystemConfigDir::Attr;
AttributeTable const table(
    LedSystemConfigDir::type(),
    {
        valueAttribute("name", "Zel::Name", {Operation::get}),
        collectionAttribute("leds", "Hardware::Led::LedConfig",
                            {Operation::get, Operation::iterate}, {}, Attr::leds),
        valueAttribute("palette", "Zel::String", {Operation::get, Operation::set}, Attr::palette),
        collectionAttribute("theme", "Zel::String",
                            {Operation::get, Operation::set, Operation::del, Operation::iterate},
                            {}, Attr::theme),
    },
    &dispatchDir);
TableRegistration const registration(table);

}  // namespace
}  // namespace Hardware::Led
