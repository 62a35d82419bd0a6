// Command templates and messages of the QoS module.
#pragma once

namespace hapi::qos::text {

inline constexpr const char *kRootQdisc = "tc qdisc add dev %s parent root handle 1:0 prio bands 8";
inline constexpr const char *kBandQdisc = "tc qdisc add dev %s parent 1:%d handle %d:0 sfq";
inline constexpr const char *kIngressQdisc = "tc qdisc add dev %s ingress";
inline constexpr const char *kDeleteIngress = "tc qdisc del dev %s ingress";
inline constexpr const char *kDeleteRoot = "tc qdisc del dev %s parent root";
inline constexpr const char *kPcpFilter =
    "tc filter add dev %s ingress prio %d protocol all basic match "
    "'meta(vlan mask 0xe000 eq 0x%x000)' action skbedit priority 1:%d";
inline constexpr const char *kDefaultPriorityFilter =
    "tc filter add dev %s ingress prio %d protocol all basic match "
    "'not cmp(u16 at 12 layer link mask 0xffff eq 0x8100)' action skbedit priority 1:%d continue";

inline constexpr const char *kUserMappingFailed =
    "%s: Error in applying user defined 802.1p mapping! \n";
inline constexpr const char *kDefaultMappingFailed =
    "%s: Error in applying default 802.1p mapping! \n";
inline constexpr const char *kSocketOpenFailed = "vekInitPortPriorityMap error! _portprio_sockfd:%d \n";
inline constexpr const char *kSocketBindFailed = "vekInitPortPriorityMap Failure in Socket bind \n";
inline constexpr const char *kSocketInitFailed = "%s: Failed to init socket! \n";
inline constexpr const char *kDefaultFilterFailed =
    "%s: Error in applying port default priority filter! \n";
inline constexpr const char *kBadPriority = "%s: Error in priority value! \n";
inline constexpr const char *kCreatingCmdFailed = "%s: Error in creating cmd! %s\n";
inline constexpr const char *kOpeningPipeFailed = "%s: Error in opening pipe! \n";
inline constexpr const char *kTaggedFilterFailed =
    "%d: Error in applying tagged vlan priority filter for %s!";
inline constexpr int kTaggedFilterLine = 714;
inline constexpr const char *kRemoveIngressFailed = "%s: Error in removing ingress qdisc on %s!\n";
inline constexpr const char *kRemoveRootFailed = "%s: Error in removing qdisc on %s!\n";
inline constexpr const char *kReapplyRootFailed = "%s: Error in re-applying qdisc on %s!\n";
inline constexpr const char *kReapplyBandFailed = "%s: Error in re-applying sfq qdisc on %s\n";
inline constexpr const char *kReapplyIngressFailed =
    "%s: Error in re-applying ingress qdisc on %s!\n";

}  // namespace hapi::qos::text
