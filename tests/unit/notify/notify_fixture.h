// Unit fixture for the notification channel: a table of records 1..8 as
// the boot phase leaves it, without a socket, so sends are skipped and the
// record state shows what the operations did.
#pragma once

#include <netlink/msg.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "notify_wire.h"
#include "unit_fixture.h"
#include "notify/channel.h"

class NotifyTableTest : public UnitTest {
protected:
    static constexpr int kRecords = 8;

    void SetUp() override
    {
        UnitTest::SetUp();
        open_table(kRecords);
        for (int p = 1; p <= kRecords; ++p)
            vekNetlinkNotifyAddIntf(p);
    }
    void TearDown() override { open_table(0); }

    static void open_table(int capacity)
    {
        auto &ch = hapi::notify::channel();
        std::free(ch.table);
        ch.table = capacity ? static_cast<vekNotifyIfEntry *>(std::calloc(capacity, sizeof(vekNotifyIfEntry)))
                            : nullptr;
        ch.count = 0;
        ch.capacity = capacity;
    }
    static vekNotifyIfEntry &record(int ifIndex)
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifIndex);
        if (!e)
            std::abort();
        return *e;
    }
};

struct MsgFree {
    void operator()(nl_msg *m) const { nlmsg_free(m); }
};
using MsgPtr = std::unique_ptr<nl_msg, MsgFree>;

// The whole message as built, header included.
inline notify_wire::Bytes bytes_of(nl_msg *msg)
{
    const nlmsghdr *h = nlmsg_hdr(msg);
    const auto *p = reinterpret_cast<const uint8_t *>(h);
    return {p, p + h->nlmsg_len};
}
