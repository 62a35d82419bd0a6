// The guard must see calls from the shared libraries too (libnl's socket,
// libstdc++'s thread start), not only from this binary's own code.
#include <gtest/gtest.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>

#include <thread>

#include "fake_threads.h"

namespace {

TEST(SeamGuard, RefusesRealSocketsAndThreadsNoTestOwns)
{
#if defined(__arm__)
    // The board's build runs under qemu user emulation, where the re-exec of
    // the threadsafe style cannot start an ARM binary; nothing else runs yet.
    GTEST_FLAG_SET(death_test_style, "fast");
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
    EXPECT_DEATH(
        {
            nl_sock *sock = nl_socket_alloc();
            nl_connect(sock, NETLINK_ROUTE);
        },
        "seam guard: socket\\(16, .*SeamGuard");
    EXPECT_DEATH(std::thread([] {}).join(), "seam guard: pthread_create in unit test SeamGuard");

    bool ran = false;
    fake::TestThread([&ran] { ran = true; }).join();
    EXPECT_TRUE(ran);
}

}  // namespace
