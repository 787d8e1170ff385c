// Name and link-mode helpers of Lampwise: classify LED names, trim port names and link modes.
#include <regex>
#include <string_view>

#include "platform/cell/Cell.h"
#include "utils/Lampwise.h"

namespace Lampwise {

namespace {

// The LED named after this cell's own number is the one that shows this cell's active state;
// every other Active LED belongs to a peer cell.
std::uint16_t activeDeviceClass(Zel::Name const& name) {
  auto const ownCell = static_cast<std::uint16_t>(Cell::cellId());
  Zel::String const ownActiveName = Zel::format("Active%d", ownCell);
  return name.string() == ownActiveName ? deviceActiveOwnCell : deviceActiveOtherCell;
}

}  // namespace

std::uint16_t ledToDevice(Zel::Name name) {
  std::string_view const text = name.view();
  // The order matters: the first matching prefix wins, whatever bit it stands for.
  if (text.starts_with("Ethernet")) return deviceEthernet;
  if (text.starts_with("Fan")) return deviceFan;
  if (text.starts_with("PowerSupply")) return devicePowerSupply;
  if (text.starts_with("Status")) return deviceStatus;
  if (text.starts_with("Active")) return activeDeviceClass(name);
  if (text.starts_with("Linecard") || text.starts_with("Fabric")) return deviceLinecardOrFabric;
  if (text.starts_with("MultiFan")) return deviceMultiFan;
  if (text.starts_with("MultiLineCard")) return deviceMultiLineCard;
  if (text.starts_with("MultiFabricCard")) return deviceMultiFabricCard;
  if (text.starts_with("MultiPowerSupply")) return deviceMultiPowerSupply;
  return deviceNone;
}

Zel::String portSubString(Zel::Name name) {
  std::string_view const text = name.view();
  auto const lastSlash = text.rfind('/');
  if (lastSlash == std::string_view::npos) return name.string();
  return Zel::String(text.substr(0, lastSlash));
}

Zel::String shortenLinkMode(Zel::String text) {
  // Compiled per call on purpose: the helpers keep no state between calls.
  std::regex const prefix("linkMode(?:Forced)?(.*)");
  std::string_view const view = text.view();
  std::cmatch match;
  Zel::String shortened;
  if (std::regex_search(view.data(), view.data() + view.size(), match, prefix))
    shortened = match.str(1);
  return shortened;
}

}  // namespace Lampwise
