// The one polling wait of the tests: a condition that another thread, the
// kernel or a station makes true, checked until it holds or time runs out.
#pragma once

#include <chrono>
#include <thread>

namespace hapi_test {

template <class Condition>
bool wait_until(Condition condition, std::chrono::milliseconds within = std::chrono::seconds(5),
                std::chrono::milliseconds step = std::chrono::milliseconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + within;
    for (;;) {
        if (condition())
            return true;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(step);
    }
}

}  // namespace hapi_test
