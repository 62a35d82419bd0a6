// The log texts of the Ethernet device access layer, each once.
#pragma once

namespace hapi::eth::msg {

inline constexpr char kNoSocket[] = "Unable to create socket @ %s, %d";
inline constexpr char kGetSettings[] = "Unable to get settings for %s: %s @ %s, %d";
inline constexpr char kCheckRead[] = "can't get interface settings @ %s, %d";
inline constexpr char kSetSettings[] = "Unable to set settings for %s: %s @ %s, %d";
inline constexpr char kGetFlags[] = "IOCTL failed for getting interface flags @ %s, %d";
inline constexpr char kBringUp[] = "failed to bring up interface %s: %s @ %s, %d";
inline constexpr char kBringDown[] = "failed to bring down interface %s: %s @ %s, %d";
inline constexpr char kNoName[] = "interface name is NULL @ %s, %d\n";
inline constexpr char kDriverInfo[] = "Cannot get driver information %d, %s @ %s %d\n";
inline constexpr char kNoDumpBuffer[] = "\nCan't get register dump @ %s, %d\n";
inline constexpr char kNoPauseOut[] = "pausecfg is NULL @ %s, %d\n";
inline constexpr char kSetPause[] = "Cannot set pause settings %d, %s @ %s %d\n";
inline constexpr char kNoIndexPath[] = "couldn't find interface index @ %s, %s, %d";
inline constexpr char kIoctlErrno[] = "ioctl failed due to errno :%d, %s @ %s, %s, %d";
inline constexpr char kNoMemory[] = "Cannot allocate memory for statistics\n";
inline constexpr char kNullOutput[] = "input param is NULL @ %s, %d";
inline constexpr char kNoIndex[] = "couldn't find interface index @ %s, %d";
inline constexpr char kNoMedium[] = "can't get port medium @ %s, %d";
inline constexpr char kSpeedFailed[] = "speed settings failed @ %s, %d";
inline constexpr char kDuplexFailed[] = "duplex settings failed @ %s, %d";
inline constexpr char kAutonegFailed[] = "autoneg settings failed @ %s, %d";
inline constexpr char kMdixFailed[] = "mdi/mdix settings failed @ %s, %d";
inline constexpr char kAbilityTrace[] = "autoNegAbil : %d @ %s, %d";
inline constexpr char kLinkscanStarted[] = "\nlinkscan handler created @ %s, %d\n";
inline constexpr char kLinkscanFailed[] = "\ncan't create linkscan handler @ %s, %d\n";

// ethtool tool commands, formatted into a 64-byte buffer.
inline constexpr char kCmdSpeedDuplex[] = "ethtool -s %s speed %d duplex %s";
inline constexpr char kCmdAutoneg[] = "ethtool -s %s autoneg %s";
inline constexpr char kCmdMdix[] = "ethtool -s %s mdix %s";

}  // namespace hapi::eth::msg
