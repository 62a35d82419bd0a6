// Unit fixture that leaves the fakes and the port map as the test found them,
// so tests pass in any order within one process.
#pragma once

#include <cstring>

#include "hapi/hapi_init.h"
#include "unit_fixture.h"

// Puts an exported global back when the test ends.
template <typename T>
class Kept {
public:
    explicit Kept(T &global) : global_(global) { std::memcpy(&saved_, &global, sizeof saved_); }
    ~Kept() { std::memcpy(&global_, &saved_, sizeof saved_); }
    Kept(const Kept &) = delete;
    Kept &operator=(const Kept &) = delete;

private:
    T &global_;
    T saved_;
};

class CoreTest : public UnitTest {
protected:
    void TearDown() override { fake::reset(); fake::reset_platform(); }

    // Front ports at kernel indexes 7..10 rather than their numbers, as on a PC.
    void start_with_pc_indexes()
    {
        platform().uspToPhysical = {{1, 7}, {2, 8}, {3, 9}, {4, 10}};
        for (int n = 1; n <= 4; ++n)
            fake::add_interface(hapi_test::port_name(n), static_cast<unsigned>(6 + n));
        ASSERT_EQ(hapiInit(), 0);
    }

private:
    Kept<torvikSwitchingHwType> hw_{torvikSwitchingHw};
};
