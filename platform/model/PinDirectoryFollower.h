// Follows a directory of output pins: a reactor on each pin entity for as long as it stands under
// its name, and an owner told when a pin arrives (or is replaced by another entity), when its
// value changes and when it leaves. Each notification costs the one name it is about; only a
// whole-directory notification goes over every pin, to learn what came and went without a name.
// A value change, the frequent one, costs no look-up at all: the owner hands back a tag of its
// own when a pin arrives (its slot for the pin, say) and gets it with every value of that pin.
#pragma once

#include <cstddef>
#include <string>

#include "platform/model/CorvelPinConfig.h"
#include "platform/zel/Dir.h"
#include "platform/zel/NameMap.h"
#include "platform/zel/Ptr.h"

namespace Hardware::Gpio {

class PinDirectoryFollower {
 public:
  class Owner {
   public:
    using Tag = std::size_t;
    virtual ~Owner() = default;
    // Also when another entity takes the place of one already followed under that name.
    // Returns the tag that comes back with this pin's values.
    virtual Tag onPinArrived(std::string const& name, CorvelPinConfig const& pin) = 0;
    virtual void onPinValue(Tag tag, std::string const& name, CorvelPinConfig const& pin) = 0;
    virtual void onPinLeft(std::string const& name) = 0;
  };

  // Tells `owner` of every pin already in `pins` before returning.
  PinDirectoryFollower(Zel::Dir& pins, Owner& owner);
  // The owner hears nothing more, even from a notification already under way.
  ~PinDirectoryFollower();
  PinDirectoryFollower(PinDirectoryFollower const&) = delete;
  PinDirectoryFollower& operator=(PinDirectoryFollower const&) = delete;

  Zel::Dir const& pins() const noexcept { return *pins_; }
  std::size_t followedCount() const noexcept { return followed_.size(); }

 private:
  class DirReactor;
  class PinReactor;

  void onEntry(Zel::Name const& name);
  void onAllEntries();

  Zel::Ptr<Zel::Dir> pins_;
  Owner* owner_;
  Zel::Ptr<DirReactor> dirReactor_;
  // Keyed by the directory's own names, so a notification's look-up shares the key it carries.
  Zel::NameMap<Zel::Ptr<PinReactor>> followed_;
};

}  // namespace Hardware::Gpio
