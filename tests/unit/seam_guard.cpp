// Linked into the unit-test binary only. The executable's definitions come
// before libc's for every library of the process (libnl, libstdc++ too), so a
// real socket, or a thread that neither the fake OS nor a test owns, stops
// the test at once instead of reaching the host's kernel or outliving it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

#include "fake_threads.h"

namespace {

[[noreturn]] void refuse(const char *call, const char *why)
{
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    std::fprintf(stderr, "\n*** seam guard: %s in unit test %s.%s: %s\n", call,
                 test ? test->test_suite_name() : "?", test ? test->name() : "?", why);
    std::fflush(stderr);
    std::abort();
}

[[noreturn]] void refuse_socket(const char *call, int domain, int type, int protocol)
{
    char text[64];
    std::snprintf(text, sizeof text, "%s(%d, %d, %d)", call, domain, type, protocol);
    refuse(text, "a real socket; go through hapi::os or its fake");
}

// UnitTest::TearDown stops the fake's threads; this catches fixtures whose
// own TearDown does not call it, so no thread reaches the next test.
class StopFakeThreads : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo &) override { fake::stop_threads(); }
};
const bool g_listening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new StopFakeThreads);
    return true;
}();

}  // namespace

extern "C" int socket(int domain, int type, int protocol) noexcept { refuse_socket("socket", domain, type, protocol); }

extern "C" int socketpair(int domain, int type, int protocol, int[2]) noexcept
{
    refuse_socket("socketpair", domain, type, protocol);
}

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attr, void *(*entry)(void *),
                              void *argument) noexcept
{
    if (!fake::thread_start_permitted())
        refuse("pthread_create",
               "a thread no test owns; start it through hapi::os::thread_start or fake::TestThread");
    using Create = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    // The next definition: the sanitizer's interceptor when there is one, else libc's.
    static const auto real = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!real)
        refuse("pthread_create", "no pthread_create after this one");
    return real(thread, attr, entry, argument);
}
