#include "core/tc_command.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/diag.h"
#include "core/os.h"
#include "core/owned.h"

namespace hapi::tc {
namespace {

bool vformat(Command &command, const char *format, va_list ap)
{
    std::memset(command, 0, sizeof command);
    const int n = std::vsnprintf(command, sizeof command, format, ap);
    return n >= 0 && static_cast<std::size_t>(n) < sizeof command;
}

}  // namespace

bool format(Command &command, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    const bool ok = vformat(command, format, ap);
    va_end(ap);
    return ok;
}

bool run(const char *tag, const char *format, ...)
{
    Command command;
    va_list ap;
    va_start(ap, format);
    const bool formatted = vformat(command, format, ap);
    va_end(ap);
    if (formatted && os::shell(command) == 0)
        return true;
    diag::command_failed(tag, command);
    return false;
}

bool delete_prio(const char *tag, const char *ifname, int prio)
{
    return run(tag, kDeletePrio, ifname, prio);
}

Status count_prio(const char *ifname, int prio, int &count, Command &command)
{
    count = 0;
    if (!format(command, kCountPrio, ifname, prio))
        return Status::bad_argument;
    const Pipe pipe(os::popen_read(command));
    if (!pipe)
        return Status::os_error;
    char line[kCommandSize] = {};
    if (!std::fgets(line, sizeof line, pipe.get()))
        return Status::not_found;
    count = std::atoi(line);
    return Status::ok;
}

}  // namespace hapi::tc
