// main of every board test executable: outside a board (and as root) it
// brings a board up, runs this executable again inside it and takes the
// board down; inside a board it runs the tests.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "board_harness.h"

namespace {

constexpr const char *kRunRoot = "/run/hapi-board";

int spawn(std::vector<std::string> args, bool quiet = false)
{
    std::vector<char *> argv;
    for (auto &a : args)
        argv.push_back(a.data());
    argv.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        if (quiet && !std::freopen("/dev/null", "w", stdout))
            ::_exit(127);
        ::execv(argv[0], argv.data());
        std::fprintf(stderr, "board test: cannot run %s: %s\n", argv[0], std::strerror(errno));
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR)
        ;
    if (WIFEXITED(status))
        return WEXITSTATUS(status);
    return 128 + WTERMSIG(status);
}

int boardsim(std::vector<std::string> args, bool quiet = false)
{
    args.insert(args.begin(), HAPI_BOARDSIM);
    return spawn(std::move(args), quiet);
}

// Boards t<pid> whose test process is gone were left by a killed run.
void sweep_stale_boards()
{
    DIR *dir = ::opendir(kRunRoot);
    if (!dir)
        return;
    std::vector<std::string> stale;
    while (dirent *e = ::readdir(dir)) {
        const std::string n = e->d_name;
        if (n.size() < 2 || n[0] != 't' || n.find_first_not_of("0123456789", 1) != std::string::npos)
            continue;
        const long pid = std::strtol(n.c_str() + 1, nullptr, 10);
        if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)
            stale.push_back(n);
    }
    ::closedir(dir);
    for (const auto &n : stale)
        boardsim({"down", n}, true);
}

// Sanitizer runtimes want to come first among the libraries; the preloaded
// driver comes before them.
void allow_preloaded_driver()
{
    std::string asan = std::getenv("ASAN_OPTIONS") ? std::getenv("ASAN_OPTIONS") : "";
    asan += (asan.empty() ? "" : ":") + std::string("verify_asan_link_order=0");
    ::setenv("ASAN_OPTIONS", asan.c_str(), 1);
}

int run_inside_new_board(int argc, char **argv)
{
    sweep_stale_boards();
    const std::string name = "t" + std::to_string(::getpid());
    if (boardsim({"up", name}, true) != 0) {
        std::fprintf(stderr, "board test: could not bring board %s up\n", name.c_str());
        return 1;
    }
#ifdef HAPI_SIM_DRIVER
    ::setenv("HAPI_SIM_DRIVER", HAPI_SIM_DRIVER, 1);
#endif
    allow_preloaded_driver();
    std::vector<std::string> args{"-b", name, "exec", "/proc/self/exe"};
    char self[4096];
    const ssize_t len = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (len > 0)
        args.back().assign(self, static_cast<size_t>(len));
    for (int i = 1; i < argc; ++i)
        args.emplace_back(argv[i]);
    const int rc = boardsim(args);
    boardsim({"down", name}, true);
    return rc;
}

bool listing_only(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i)
        if (std::strncmp(argv[i], "--gtest_list_tests", 18) == 0)
            return true;
    return false;
}

}  // namespace

int main(int argc, char **argv)
{
    if (!board::inside() && ::geteuid() == 0 && !listing_only(argc, argv))
        return run_inside_new_board(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
