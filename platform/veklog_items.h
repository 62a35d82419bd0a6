// Decodes the item triples of a veklog_throwMsg call. Shared by the platform's
// renderer and the unit tests' recording platform.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/vekplatform.h"

namespace vekpf {

struct LogItem {
    int kind = 0;
    int size = 0;
    int64_t number = 0;  // kind 1
    std::string text;    // kind 3
    bool operator==(const LogItem &) const = default;
};

// Reads triples until the 0 end mark; stops at an unknown kind or after
// `limit` items so a malformed call cannot run away.
inline std::vector<LogItem> decode_items(va_list ap, int limit = 32)
{
    std::vector<LogItem> items;
    for (int n = 0; n < limit; ++n) {
        const int kind = va_arg(ap, int);
        if (kind == 0)
            break;
        const int size = va_arg(ap, int);
        if (kind == VEKLOG_ITEM_TEXT) {
            const char *text = va_arg(ap, const char *);
            items.push_back({kind, size, 0, text ? text : "(null)"});
        } else if (kind == VEKLOG_ITEM_INT) {
            const int64_t v = size == 8 ? va_arg(ap, int64_t) : int64_t{va_arg(ap, int)};
            items.push_back({kind, size, v, {}});
        } else {
            break;
        }
    }
    return items;
}

inline std::string render_items(const std::vector<LogItem> &items)
{
    std::string out;
    for (const LogItem &item : items) {
        out += ' ';
        if (item.kind == VEKLOG_ITEM_TEXT)
            out += '"' + item.text + '"';
        else
            out += std::to_string(item.number);
    }
    return out;
}

}  // namespace vekpf
