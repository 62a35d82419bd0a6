// main of every board test executable: outside a board (and as root) it
// brings a board up, runs this executable again inside it and takes the
// board down; inside a board it runs the tests.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "board_harness.h"

namespace {

int boardsim(const std::string &args)
{
    const int status = std::system((std::string(HAPI_BOARDSIM) + " " + args).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
}

int run_inside_new_board(int argc, char **argv)
{
    // Boards t<pid> (and t<pid>-<more>, made by a test) whose test process
    // is gone were left by a killed run.
    boardsim("list | while read -r b; do p=${b#t}; p=${p%%-*}; case $b in t[0-9]*) ;; *) continue ;; esac; "
             "case $p in *[!0-9]*) continue ;; esac; kill -0 \"$p\" 2>/dev/null || " HAPI_BOARDSIM
             " down \"$b\"; done >/dev/null");
    const std::string name = "t" + std::to_string(::getpid());
    if (boardsim("up " + name + " >/dev/null") != 0) {
        std::fprintf(stderr, "board test: could not bring board %s up\n", name.c_str());
        return 1;
    }
#ifdef HAPI_SIM_DRIVER
    ::setenv("HAPI_SIM_DRIVER", HAPI_SIM_DRIVER, 1);
#endif
    // Sanitizer runtimes want to come first among the libraries; the
    // preloaded driver comes before them.
    const char *asan = std::getenv("ASAN_OPTIONS");
    ::setenv("ASAN_OPTIONS", ((asan && *asan ? std::string(asan) + ":" : "") + "verify_asan_link_order=0").c_str(), 1);
    std::string args = "-b " + name + " exec " + board::quote(std::filesystem::read_symlink("/proc/self/exe"));
    for (int i = 1; i < argc; ++i)
        args += " " + board::quote(argv[i]);
    const int rc = boardsim(args);
    boardsim("down " + name + " >/dev/null");
    return rc;
}

}  // namespace

int main(int argc, char **argv)
{
    bool listing = false;
    for (int i = 1; i < argc; ++i)
        listing |= std::strncmp(argv[i], "--gtest_list_tests", 18) == 0;
    if (!board::inside() && ::geteuid() == 0 && !listing)
        return run_inside_new_board(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
