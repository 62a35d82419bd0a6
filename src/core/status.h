// The outcome of an internal step. Exported functions translate it into
// their family's result codes through one CodeMap each, so the codes live
// in one place per family and the steps themselves stay code-agnostic.
#pragma once

#include <cstddef>
#include <initializer_list>

namespace hapi {

enum class [[nodiscard]] Status {
    ok,
    bad_argument,  // a missing or unusable input from the caller
    out_of_range,  // a port or index outside the table
    not_ready,     // the table or resource the step needs does not exist yet
    not_found,     // no interface, entry or output where one was looked for
    os_error,      // a system call failed; errno tells why
    failed,        // a command ran and reported failure
};

inline constexpr std::size_t kStatusCount = static_cast<std::size_t>(Status::failed) + 1;

struct StatusCode {
    Status status;
    int code;
};

// One family's result code for every status: ok is 0, each listed status
// its code, every other failure `otherwise`.
class CodeMap {
public:
    constexpr CodeMap(int otherwise, std::initializer_list<StatusCode> listed) : codes_{}
    {
        for (int &c : codes_)
            c = otherwise;
        codes_[index(Status::ok)] = 0;
        for (const StatusCode &e : listed)
            codes_[index(e.status)] = e.code;
    }
    constexpr int operator()(Status s) const { return codes_[index(s)]; }

private:
    static constexpr std::size_t index(Status s) { return static_cast<std::size_t>(s); }
    int codes_[kStatusCount];
};

}  // namespace hapi
