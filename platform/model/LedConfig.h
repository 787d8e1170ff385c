// Hardware::Led::LedConfig: what one LED should show, written by LED policy agents and read by
// the LED agents. Keyed by the LED's name in its LedSystemConfigDir.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/model/LightSetting.h"
#include "platform/zel/Entity.h"
#include "platform/zel/NameMap.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Led {

class LedConfig : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId {
      lightSetting = 1,
      ledAttribute,
      theme,
      mode,
      modeImmediate,
      currentMode,
    };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<LedConfig> {
   public:
    virtual void onLightSetting() {}
    virtual void onLedAttribute() {}
    virtual void onTheme() {}
    virtual void onMode(Zel::Name) {}
    virtual void onModezelImmediate() {}
    virtual void onMode() {}
    virtual void onCurrentMode() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<LedConfig>::NotifieeConstOf;
  };

  static Zel::Ptr<LedConfig> ledConfigIs(Zel::Name const& name);
  explicit LedConfig(Zel::Name name) : Zel::Entity(std::move(name)) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  ::Led::LightSetting const& lightSetting() const noexcept { return lightSetting_; }
  void lightSettingIs(::Led::LightSetting const& setting);

  // Model attributes that LED agents carry but do not interpret.
  std::uint32_t ledAttribute() const noexcept { return ledAttribute_; }
  void ledAttributeIs(std::uint32_t value);
  Zel::Name const& theme() const noexcept { return theme_; }
  void themeIs(Zel::Name const& theme);
  // Named alternative settings (such as "locate") that a policy can switch to.
  Zel::NameMap<::Led::LightSetting> const& mode() const noexcept { return mode_; }
  void modeIs(Zel::Name const& name, ::Led::LightSetting const& setting);
  // The setting that was stored under the name; none for a name that was not there.
  std::optional<::Led::LightSetting> modeDel(Zel::Name const& name);
  Zel::Name const& currentMode() const noexcept { return currentMode_; }
  void currentModeIs(Zel::Name const& name);

 private:
  ::Led::LightSetting lightSetting_;
  std::uint32_t ledAttribute_ = 0;
  Zel::Name theme_;
  Zel::NameMap<::Led::LightSetting> mode_;
  Zel::Name currentMode_;
};

}  // namespace Hardware::Led
