// Base fixture of the unit tests: a clean fake OS and platform per test.
#pragma once

#include <gtest/gtest.h>

#include "fake_os.h"
#include "fake_platform.h"
#include "ports.h"
#include "fake_threads.h"

class UnitTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        fake::reset();
        fake::reset_platform();
    }
    // No thread the fake started outlives the test.
    void TearDown() override { fake::stop_threads(); }
    fake::Os &os() { return fake::os(); }
    fake::Platform &platform() { return fake::platform(); }

    // The board's four front ports as interfaces 1..4 named port00..port03.
    void add_front_interfaces(int count = 4)
    {
        for (int n = 1; n <= count; ++n)
            fake::add_interface(hapi_test::port_name(n), static_cast<unsigned>(n));
    }
};
