// Cost of the requests that share the ethtool context, against the loopback
// interface (whose driver answers the link query): what one port of a link
// scan pass costs, alone and with another thread contending for the context.
#include <benchmark/benchmark.h>
#include <net/if.h>

#include "hapi/hapi_veketh.h"

namespace {

uint32_t loopback()
{
    static const uint32_t index = [] {
        veketh_intf_init();
        return if_nametoindex("lo");
    }();
    return index;
}

void BM_LinkQuery(benchmark::State &state)
{
    const uint32_t lo = loopback();
    uint32_t link = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(veketh_port_link_status_get(lo, &link));
        benchmark::DoNotOptimize(link);
    }
}
BENCHMARK(BM_LinkQuery);
BENCHMARK(BM_LinkQuery)->Threads(2);

}  // namespace

BENCHMARK_MAIN();
