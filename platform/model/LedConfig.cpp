#include "platform/model/LedConfig.h"

#include "platform/model/TypeRegistration.h"
#include "platform/zel/Allocate.h"

namespace Hardware::Led {

namespace {
ModelTypeRegistration<LedConfig> const registration;
}

Zel::Ptr<LedConfig> LedConfig::ledConfigIs(Zel::Name const& name) {
  return Zel::allocate<LedConfig>(name);
}

Zel::TypeNode const& LedConfig::type() {
  static Zel::TypeNode const node("Hardware::Led::LedConfig", &newModelEntity<LedConfig>,
                                  &Zel::Entity::type());
  return node;
}

Zel::TypeNode const* LedConfig::fwkType() const {
  return &type();
}

void LedConfig::lightSettingIs(::Led::LightSetting const& setting) {
  if (setting == lightSetting_) return;
  lightSetting_ = setting;
  notify(Attr::lightSetting);
}

void LedConfig::ledAttributeIs(std::uint32_t value) {
  if (value == ledAttribute_) return;
  ledAttribute_ = value;
  notify(Attr::ledAttribute);
}

void LedConfig::themeIs(Zel::Name const& theme) {
  if (theme == theme_) return;
  theme_ = theme;
  notify(Attr::theme);
}

void LedConfig::modeIs(Zel::Name const& name, ::Led::LightSetting const& setting) {
  if (auto const* existing = mode_.find(name); existing && *existing == setting) return;
  mode_.insert(name, setting);
  notify(Attr::mode, name);
}

std::optional<::Led::LightSetting> LedConfig::modeDel(Zel::Name const& name) {
  if (!mode_.contains(name)) return std::nullopt;
  ::Led::LightSetting const removed = mode_.take(name);
  notify(Attr::mode, name);
  return removed;
}

void LedConfig::currentModeIs(Zel::Name const& name) {
  if (name == currentMode_) return;
  currentMode_ = name;
  notify(Attr::currentMode);
}

void LedConfig::NotifieeConst::zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) {
  switch (attribute) {
    case Attr::lightSetting:
      return onLightSetting();
    case Attr::ledAttribute:
      return onLedAttribute();
    case Attr::theme:
      return onTheme();
    case Attr::mode:
      return key ? onMode(*key) : onMode();
    case Attr::modeImmediate:
      return onModezelImmediate();
    case Attr::currentMode:
      return onCurrentMode();
  }
}

}  // namespace Hardware::Led
