// Reading a port's traffic-control objects back from tc's JSON output.
// tc (iproute2 6.1) writes the ematch tree of a basic filter raw into its
// JSON, each on a line of its own; those lines are taken out and kept as the
// filter's match text.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "board_harness.h"

namespace tcread {

using nlohmann::json;

inline std::optional<json> run_json(const std::string &command, std::vector<std::string> *raw = nullptr)
{
    const board::Result r = board::run(command);
    if (r.status != 0)
        return std::nullopt;
    std::istringstream in(r.output);
    std::string line, clean;
    while (std::getline(in, line)) {
        if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) {
            if (raw)
                raw->push_back(line.substr(line.find_first_not_of(" \t")));
            continue;
        }
        clean += line;
    }
    json parsed = json::parse(clean, nullptr, false);
    if (parsed.is_discarded())
        return std::nullopt;
    return parsed;
}

inline json qdiscs(const std::string &dev)
{
    return run_json("tc -j qdisc show dev " + dev).value_or(json::array());
}

struct Filter {
    int pref = 0;
    std::string kind;
    std::string match;  // basic filters: the ematch text
    json options;
};

// The ingress filters of dev that carry options (tc also lists one bare
// line per priority and hash table head, which are skipped).
inline std::vector<Filter> ingress_filters(const std::string &dev)
{
    std::vector<std::string> raw;
    const json all = run_json("tc -j filter show dev " + dev + " ingress", &raw).value_or(json::array());
    std::vector<Filter> filters;
    size_t nextMatch = 0;
    for (const json &f : all) {
        if (!f.contains("options") || (f["kind"] == "u32" && !f["options"].contains("order")))
            continue;
        Filter filter{f.value("pref", 0), f.value("kind", ""), "", f["options"]};
        if (filter.kind == "basic" && nextMatch < raw.size())
            filter.match = raw[nextMatch++];
        filters.push_back(filter);
    }
    return filters;
}

// Statistics of every action of one kind in the namespace, by action index.
inline std::map<int, json> action_stats(const std::string &kind)
{
    std::map<int, json> stats;
    const auto all = run_json("tc -j -s actions ls action " + kind);
    if (!all || !all->is_array())
        return stats;
    for (const json &part : *all)
        if (part.contains("actions"))
            for (const json &a : part["actions"])
                stats[a.value("index", -1)] = a.value("stats", json::object());
    return stats;
}

}  // namespace tcread
