// Lampwise: LED utility functions shared with the LED policy agents of the host.
//
// Include this header and link libpinlamp.so (and libpinlamp_platform.so, which provides
// Zel::String and Zel::Name). The functions keep no state and touch no entity, so they may be
// called at any time, before or after the agent starts; like the rest of the framework they are
// meant for the process's single activity thread. None of them reports an error: a name or text
// that fits no rule gives 0, false or the empty string. Only allocation failures and errors of the
// standard regular-expression library can escape, as standard-library exceptions.
#pragma once

#include <cstdint>

#include "platform/model/Color.h"
#include "platform/zel/Export.h"
#include "platform/zel/Name.h"
#include "platform/zel/String.h"

// The library is built with hidden default visibility: these functions are its public ones.
#define LAMPWISE_EXPORT ZEL_EXPORT

namespace Lampwise {

// Device classes returned by ledToDevice. Every class except deviceNone is a single bit, so a
// caller may collect several into a mask. The bit values do not follow the order in which the
// names are tested, and Linecard and Fabric LEDs deliberately share one class.
inline constexpr std::uint16_t deviceNone = 0x0000;
inline constexpr std::uint16_t deviceEthernet = 0x0001;
inline constexpr std::uint16_t deviceFan = 0x0002;
inline constexpr std::uint16_t devicePowerSupply = 0x0004;
inline constexpr std::uint16_t deviceStatus = 0x0008;
inline constexpr std::uint16_t deviceActiveOwnCell = 0x0010;
inline constexpr std::uint16_t deviceMultiFan = 0x0020;
inline constexpr std::uint16_t deviceLinecardOrFabric = 0x0040;
inline constexpr std::uint16_t deviceMultiLineCard = 0x0080;
inline constexpr std::uint16_t deviceMultiFabricCard = 0x0100;
inline constexpr std::uint16_t deviceMultiPowerSupply = 0x0200;
inline constexpr std::uint16_t deviceActiveOtherCell = 0x0400;

// The device class of an LED, from the start of its name. The prefixes are tried in this order
// and the first that matches decides (case-sensitive; a name shorter than a prefix never matches):
//   "Ethernet" -> deviceEthernet          "Linecard" or "Fabric" -> deviceLinecardOrFabric
//   "Fan" -> deviceFan                    "MultiFan" -> deviceMultiFan
//   "PowerSupply" -> devicePowerSupply    "MultiLineCard" -> deviceMultiLineCard
//   "Status" -> deviceStatus              "MultiFabricCard" -> deviceMultiFabricCard
//   "Active" -> see below                 "MultiPowerSupply" -> deviceMultiPowerSupply
// Anything else is deviceNone. Because of the order, "PowerSupplyMulti" is a power supply and
// "FanTray" a fan, while "MultiPowerSupply1" is a multi power supply.
//
// A name starting with "Active" is deviceActiveOwnCell only when it is exactly "Active" followed
// by this process's cell identifier in decimal without leading zeros (Active1 on cell 1);
// Active01, Active2 on cell 1, and the bare "Active" are deviceActiveOtherCell. The cell
// identifier is read from Cell::cellId() on every call and taken as an unsigned 16-bit number:
// an identifier above 65535 keeps only its low 16 bits (cell 70000 owns "Active4464").
LAMPWISE_EXPORT std::uint16_t ledToDevice(Zel::Name name);

// The port or interface name without its last slash-separated component: Ethernet3/1/4 gives
// Ethernet3/1, Ethernet1/ gives Ethernet1 and /1 gives the empty string. A name without a slash
// is returned unchanged. Returned as a String because the result is text to compare or print
// rather than a key.
LAMPWISE_EXPORT Zel::String portSubString(Zel::Name name);

// The link mode without its "linkMode" or "linkModeForced" prefix: linkModeForced100gfull gives
// 100gfull and linkModeAutoneg gives Autoneg. The prefix may appear anywhere (xlinkModeUnknown
// gives Unknown) but is case-sensitive; a text without it gives the empty string. Only the first
// occurrence is stripped, "Forced" only directly after it, and the result ends before the first
// line break (\n or \r) that follows. The regular expression is compiled on every call; callers
// on a hot path should keep the result rather than call again.
LAMPWISE_EXPORT Zel::String shortenLinkMode(Zel::String text);

// The text that the value's stream operator writes, unchanged (no trimming, no case change).
// Provided for Led::Color only: red, green, yellow, orange, blue, white, amber, purple for the
// values 0 to 7, and "Color(N)" for any other value N.
template <class T>
Zel::String toString(T value);

extern template LAMPWISE_EXPORT Zel::String toString<Led::Color>(Led::Color value);

// True when the text is exactly (case-sensitive, no surrounding blanks) the text of one of the
// colour values 0 to 7, as given by toString<Led::Color>. "Color(8)" and the like are not colours.
LAMPWISE_EXPORT bool isColorValid(Zel::String text);

// The value rounded to the given count of decimal places, halves away from zero: (3.14159, 2)
// gives 3.14, (2.5, 0) gives 3 and (-2.5, 0) gives -3. A negative count rounds to tens, hundreds
// and so on: (1234, -2) gives 1200. The arithmetic is plain double: a value whose decimal form
// ends in 5 at the rounding place may round down when its binary form lies just below the half
// ((1.005, 2) gives 1.0). NaN and infinities pass through.
LAMPWISE_EXPORT double roundVal(double value, int places);

}  // namespace Lampwise
