// Unit fixture with the fake port driver behind the board's four front
// interfaces (index n, "port%02u" of n-1, dump tag n), the shared request
// context as before initialisation, and log matching whatever source line.
#pragma once

#include <cstdlib>
#include <string>

#include "fake_driver.h"
#include "hapi/hapi_veketh.h"
#include "unit_fixture.h"

class DriverTest : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        uninitialise();
        add_front_interfaces();
        fake::install_driver();
        for (unsigned n = 1; n <= 4; ++n)
            fake::add_port(name_of(n), n);
    }
    void TearDown() override
    {
        UnitTest::TearDown();
        uninitialise();
    }

    static std::string name_of(unsigned index) { return hapi_test::port_name(static_cast<int>(index)); }
    static fake::Port &port(unsigned index) { return fake::driver().ports.at(name_of(index)); }

    // Whether `text` was logged at priority, its last number (the source line) written as #.
    bool logged(int priority, const std::string &text)
    {
        for (const fake::LogLine &l : os().logs) {
            std::string line = l.text;
            const size_t end = line.find_last_of("0123456789");
            if (end != std::string::npos) {
                const size_t begin = line.find_last_not_of("0123456789", end) + 1;
                line.replace(begin, end - begin + 1, "#");
            }
            if (l.priority == priority && line == text)
                return true;
        }
        return false;
    }

private:
    static void uninitialise()
    {
        std::free(regs);
        std::free(stats);
        regs = nullptr;
        stats = nullptr;
        ctx = {};
    }
};
