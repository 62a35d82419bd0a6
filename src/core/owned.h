// Owners for what the library borrows from the OS and from libnl: each
// releases its resource exactly once, on every path out of a scope.
#pragma once

#include <cstdio>
#include <memory>
#include <utility>

#include "core/os.h"

namespace hapi {

// A file descriptor closed through the OS seam.
class UniqueFd {
public:
    UniqueFd() noexcept = default;
    explicit UniqueFd(int fd) noexcept : fd_(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : fd_(other.release()) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd &) = delete;
    UniqueFd &operator=(const UniqueFd &) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }
    int release() noexcept { return std::exchange(fd_, -1); }
    void reset(int fd = -1) noexcept
    {
        if (fd_ >= 0)
            os::close(fd_);
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

// A C object released by a function: Owned<nl_msg, nlmsg_free>.
template <typename T, auto Release>
struct Releaser {
    void operator()(T *p) const noexcept { Release(p); }
};
template <typename T, auto Release>
using Owned = std::unique_ptr<T, Releaser<T, Release>>;

// The read end of a command started with os::popen_read.
using Pipe = Owned<FILE, os::pclose>;

}  // namespace hapi
