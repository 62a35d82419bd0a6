// Reporting shared by every module: structured reports on the platform's
// log channel, the common syslog forms, and the console.
#pragma once

#include <cstdint>

namespace hapi::diag {

inline constexpr uint32_t kFacilityPhy = 61;
inline constexpr uint32_t kFacilityStorm = 58;

inline constexpr uint32_t kClassError = 187;
inline constexpr uint32_t kClassBootError = 186;
inline constexpr uint32_t kClassSuccess = 191;
inline constexpr uint32_t kClassLinkEvent = 13;

inline constexpr const char *kSourcePhy = "src/phy_hapi";
inline constexpr const char *kSourceStorm = "src/veksys_all";

inline constexpr uint32_t kLinkUpId = 0x3D00C8;
inline constexpr uint32_t kLinkDownId = 0x3D00C9;

// Subsystem tags of "[%s] %s Failed ".
inline constexpr const char *kTagQos = "[QOS]";
inline constexpr const char *kTagVlan = "[VLAN]";
inline constexpr const char *kTagL2Filter = "[L2_FLT]";
inline constexpr const char *kTagFdb = "[FDB]";
inline constexpr const char *kTagSystem = "[SYSTEM]";

// Facility in the upper half, magnitude of the error in the lower half.
constexpr uint32_t message_id(uint32_t facility, int error)
{
    uint32_t magnitude = error < 0 ? static_cast<uint32_t>(-static_cast<int64_t>(error))
                                   : static_cast<uint32_t>(error);
    return (facility << 16) | (magnitude & 0xFFFFu);
}

// Width of the port item of an error report: 2 when the port came from the
// caller's usp, 4 otherwise.
enum class PortItem { FromUsp = 2, Word = 4 };

// PHY error report: message, port, reporting step, value (-1 when none).
void phy_error(int line, int error, const char *message, int port, PortItem width,
               const char *step, int value, uint32_t severity = kClassError);
// PHY success report: port, step, message, value set.
void phy_success(int line, int port, const char *step, const char *message, int value);
// Link came up or went down on a logical port.
void phy_link_event(int line, int port, bool up);

// "[%s] %s Failed " after a shell command returned non-zero.
void command_failed(const char *tag, const char *command);

}  // namespace hapi::diag
