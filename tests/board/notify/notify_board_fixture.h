// The notification channel opened for real in the board's namespace (each
// ctest test has a board of its own, so no two tests share port 1001), with
// records 1..8 and a listener joined to the link group. The status messages
// also reach the kernel as link requests for interfaces 1..8; nothing here
// depends on what it makes of them.
#pragma once

#include "board_harness.h"
#include "netlink_peer.h"
#include "notify_wire.h"
#include "notify/notify.h"

using namespace std::chrono_literals;
using notify_wire::Bytes;
using notify_wire::encode;
using notify_wire::unseq;

class NotifyChannelTest : public BoardTest {
protected:
    static constexpr uint32_t kChannel = 1001;
    static constexpr uint32_t kLinkGroupMask = 1u << (RTNLGRP_LINK - 1);

    void SetUpBoard() override
    {
        ASSERT_TRUE(listener.ok());
        ASSERT_EQ(vekNetlinkNotifyInit(8), 0);
        for (int p = 1; p <= 8; ++p)
            vekNetlinkNotifyAddIntf(p);
    }
    void TearDown() override { vekNetlinkNotifyDestroy(); }

    // The next status message the channel published, its sequence number 0.
    Bytes published()
    {
        auto r = listener.receive_from(kChannel, 5s);
        EXPECT_TRUE(r && r->groups == kLinkGroupMask);
        return r ? unseq(r->bytes) : Bytes{};
    }

    netlink_peer::Peer listener{0, kLinkGroupMask, 8 << 20};
};
