#include "platform/model/LedSystemConfigDir.h"

#include "platform/model/TypeRegistration.h"

namespace Hardware::Led {

namespace {
ModelTypeRegistration<LedSystemConfigDir> const registration;
}

Zel::TypeNode const& LedSystemConfigDir::type() {
  static Zel::TypeNode const node("Hardware::Led::LedSystemConfigDir",
                                  &newModelEntity<LedSystemConfigDir>, &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* LedSystemConfigDir::fwkType() const {
  return &type();
}

Zel::Ptr<LedConfig> LedSystemConfigDir::ledsIs(Zel::Name const& name) {
  if (Zel::Ptr<LedConfig> existing = leds_.find(name)) return existing;
  return ledsIs(LedConfig::ledConfigIs(name));
}

Zel::Ptr<LedConfig> LedSystemConfigDir::ledsIs(Zel::Ptr<LedConfig> const& led) {
  if (leds_.insert(led)) notify(Attr::leds, led->name());
  return led;
}

Zel::Ptr<LedConfig> LedSystemConfigDir::ledsDel(Zel::Name const& name) {
  Zel::Ptr<LedConfig> removed = leds_.take(name);
  if (removed) notify(Attr::leds, name);
  return removed;
}

void LedSystemConfigDir::ledsDelAll() {
  if (leds_.members().empty()) return;
  for (auto member : leds_.members()) leds_.take(member.key);
  notifyImmediate(Attr::ledsImmediate);
  notify(Attr::leds);
}

void LedSystemConfigDir::paletteIs(Zel::String const& palette) {
  if (palette == palette_) return;
  palette_ = palette;
  notify(Attr::palette);
}

void LedSystemConfigDir::themeIs(Zel::Name const& name, Zel::String const& value) {
  if (auto const* existing = theme_.find(name); existing && *existing == value) return;
  theme_.insert(name, value);
  notify(Attr::theme, name);
}

std::optional<Zel::String> LedSystemConfigDir::themeDel(Zel::Name const& name) {
  if (!theme_.contains(name)) return std::nullopt;
  Zel::String removed = theme_.take(name);
  notify(Attr::theme, name);
  return removed;
}

void LedSystemConfigDir::NotifieeConst::zelDeliver(Zel::AttributeId attribute,
                                                   Zel::Name const* key) {
  switch (attribute) {
    case Attr::leds:
      return key ? onLeds(*key) : onLeds();
    case Attr::ledsImmediate:
      return onLedszelImmediate();
    case Attr::palette:
      return onPalette();
    case Attr::theme:
      return key ? onTheme(*key) : onTheme();
    case Attr::themeImmediate:
      return onThemezelImmediate();
  }
}

}  // namespace Hardware::Led
