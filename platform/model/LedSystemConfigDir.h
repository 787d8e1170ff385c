// Hardware::Led::LedSystemConfigDir: the directory of every LED's configuration, keyed by LED
// name, as published by the LED policy agents.
#pragma once

#include <optional>

#include "platform/model/ChildCollection.h"
#include "platform/model/LedConfig.h"
#include "platform/zel/Notifiee.h"

namespace Hardware::Led {

class LedSystemConfigDir : public Zel::Entity {
 public:
  struct Attr {
    enum : Zel::AttributeId { leds = 1, ledsImmediate, palette, theme, themeImmediate };
  };

  class NotifieeConst : public Zel::NotifieeConstOf<LedSystemConfigDir> {
   public:
    virtual void onLeds(Zel::Name) {}
    virtual void onLedszelImmediate() {}
    virtual void onLeds() {}
    virtual void onPalette() {}
    virtual void onTheme(Zel::Name) {}
    virtual void onThemezelImmediate() {}
    virtual void onTheme() {}
    void zelDeliver(Zel::AttributeId attribute, Zel::Name const* key) override;

   protected:
    using Zel::NotifieeConstOf<LedSystemConfigDir>::NotifieeConstOf;
  };

  explicit LedSystemConfigDir(Zel::Name name) : Zel::Entity(std::move(name)), leds_(this) {}
  static Zel::TypeNode const& type();
  Zel::TypeNode const* fwkType() const override;

  Zel::NameMap<Zel::Ptr<LedConfig>> const& leds() const noexcept { return leds_.members(); }
  Zel::Ptr<LedConfig> leds(Zel::Name const& name) const { return leds_.find(name); }
  // The LED's configuration, made empty when absent.
  Zel::Ptr<LedConfig> ledsIs(Zel::Name const& name);
  // Publishes a fully built configuration, replacing any other one of that name in one step.
  Zel::Ptr<LedConfig> ledsIs(Zel::Ptr<LedConfig> const& led);
  Zel::Ptr<LedConfig> ledsDel(Zel::Name const& name);
  // Removes every LED; reactors learn of it through the immediate and whole-collection hooks.
  void ledsDelAll();

  Zel::String const& palette() const noexcept { return palette_; }
  void paletteIs(Zel::String const& palette);
  Zel::NameMap<Zel::String> const& theme() const noexcept { return theme_; }
  void themeIs(Zel::Name const& name, Zel::String const& value);
  // The value that was stored under the name; none for a name that was not there.
  std::optional<Zel::String> themeDel(Zel::Name const& name);

 private:
  ChildCollection<LedConfig> leds_;
  Zel::String palette_;
  Zel::NameMap<Zel::String> theme_;
};

}  // namespace Hardware::Led
