// Unit fixture with the fake port driver behind the board's four front
// interfaces (index n, "port%02u" of n-1, dump tag n), and log matching that
// compares whole lines whatever source line they carry.
#pragma once

#include <cstdio>
#include <string>

#include "fake_driver.h"
#include "unit_fixture.h"

class DriverTest : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        add_front_interfaces();
        fake::install_driver();
        for (unsigned n = 1; n <= 4; ++n)
            fake::add_port(name_of(n), n);
    }

    static std::string name_of(unsigned index) { return hapi_test::port_name(static_cast<int>(index)); }
    static fake::Port &port(unsigned index) { return fake::driver().ports.at(name_of(index)); }

    // Whether a line formatted from `format` (its last argument a source
    // line) was logged at `priority`, with any line number.
    template <typename... Args>
    bool logged(int priority, const char *format, Args... args)
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        char expected[512];
        std::snprintf(expected, sizeof expected, format, args..., 0);
#pragma GCC diagnostic pop
        for (const fake::LogLine &l : os().logs)
            if (l.priority == priority && without_line(l.text) == expected)
                return true;
        return false;
    }

private:
    // The last run of digits (the source line) replaced by 0.
    static std::string without_line(std::string text)
    {
        const size_t end = text.find_last_of("0123456789");
        if (end == std::string::npos)
            return text;
        size_t begin = end;
        while (begin > 0 && std::isdigit(static_cast<unsigned char>(text[begin - 1])))
            --begin;
        return text.replace(begin, end - begin + 1, "0");
    }
};
