// Running `tc` commands on a port's ingress queueing discipline, shared by
// every module that owns a filter priority there (QoS, storm control, PVID
// marking).
#pragma once

#include <cstddef>

#include "core/status.h"

namespace hapi::tc {

inline constexpr std::size_t kCommandSize = 256;
using Command = char[kCommandSize];

inline constexpr const char *kDeletePrio = "tc filter del dev %s ingress prio %d";
inline constexpr const char *kCountPrio =
    "tc filter show dev %s ingress | grep 'pref %d' | awk 'END{print NR}'";

// Formats into the zeroed buffer; false when the text does not fit.
bool format(Command &command, const char *format, ...) __attribute__((format(printf, 2, 3)));

// Runs a formatted command; any non-zero result is a failure, logged as
// "[tag] command Failed ". A text that does not fit is not run and fails.
bool run(const char *tag, const char *format, ...) __attribute__((format(printf, 2, 3)));

// Deletes every filter of one priority on the port's ingress discipline.
bool delete_prio(const char *tag, const char *ifname, int prio);

// Counts the filter lines of one priority; command receives the pipeline's
// text so callers can name it in their messages. bad_argument when the text
// does not fit, os_error when the pipe cannot be opened, not_found when it
// gives no output (count stays 0).
Status count_prio(const char *ifname, int prio, int &count, Command &command);

}  // namespace hapi::tc
