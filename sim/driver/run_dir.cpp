#include "run_dir.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace simdrv {

std::string run_dir()
{
    const char *dir = std::getenv("HAPI_BOARD_DIR");
    return dir ? dir : "";
}

bool replace_file(const std::string &name, const void *data, size_t size)
{
    const std::string dir = run_dir();
    if (dir.empty())
        return false;
    const std::string path = dir + "/" + name;
    const std::string tmp = path + ".tmp." + std::to_string(::getpid());
    const int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, data, size) == static_cast<ssize_t>(size);
    ::close(fd);
    if (!written || std::rename(tmp.c_str(), path.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return false;
    }
    return true;
}

bool append_line(const std::string &name, const std::string &line)
{
    const std::string dir = run_dir();
    if (dir.empty())
        return false;
    const int fd = ::open((dir + "/" + name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const std::string text = line + "\n";
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(fd);
    return written;
}

}  // namespace simdrv
