// Reporting shared by every module: structured reports on the platform's
// log channel, the common syslog forms, and the console.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "core/os.h"

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

// Stand-ins for errno in the arguments of syslog_errno: its number and its
// strerror text, both as errno was when syslog_errno was entered.
struct ErrnoNumber {};
struct ErrnoText {};
inline constexpr ErrnoNumber kErrno{};
inline constexpr ErrnoText kErrnoText{};

namespace detail {
inline int errno_arg(ErrnoNumber, int err) { return err; }
inline const char *errno_arg(ErrnoText, int err) { return std::strerror(err); }
template <typename T>
T errno_arg(T value, int) { return value; }
}  // namespace detail

// Logs through os::syslog with kErrno/kErrnoText replaced by the errno of
// the failure just seen, and leaves errno as it found it for the caller.
template <typename... Args>
void syslog_errno(int priority, const char *format, Args... args)
{
    const int err = errno;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    os::syslog(priority, format, detail::errno_arg(args, err)...);
#pragma GCC diagnostic pop
    errno = err;
}

// "[%s] %s Failed " after a shell command returned non-zero.
void command_failed(const char *tag, const char *command);

}  // namespace hapi::diag
