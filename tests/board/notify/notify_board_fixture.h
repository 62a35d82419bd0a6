// The notification channel opened for real in the board's namespace (each
// ctest test has a board of its own, so no two tests share port 1001), with
// records 1..8 and a listener joined to the link group. The status messages
// also reach the kernel as link requests for interfaces 1..8; nothing here
// depends on what it makes of them.
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstring>

#include "board_harness.h"
#include "netlink_peer.h"
#include "notify_wire.h"
#include "notify/notify.h"

using namespace std::chrono_literals;

class NotifyChannelTest : public BoardTest {
protected:
    static constexpr int kRecords = 8;
    static constexpr uint32_t kChannel = 1001;
    static constexpr uint32_t kLinkGroupMask = 1u << (RTNLGRP_LINK - 1);
    static constexpr auto kWithin = 5s;

    void SetUpBoard() override
    {
        listener = std::make_unique<netlink_peer::Peer>(0, kLinkGroupMask, 8 << 20);
        ASSERT_TRUE(listener->ok());
        ASSERT_EQ(vekNetlinkNotifyInit(kRecords), 0);
        opened = true;
        for (int p = 1; p <= kRecords; ++p)
            vekNetlinkNotifyAddIntf(p);
    }
    void TearDown() override
    {
        if (opened)
            vekNetlinkNotifyDestroy();
    }

    // The next status message the channel published.
    notify_wire::Bytes next_published()
    {
        auto r = listener->receive_from(kChannel, kWithin);
        if (!r)
            return {};
        EXPECT_EQ(r->groups, kLinkGroupMask);
        return r->bytes;
    }
    // Proves nothing was published since the last message read: a fresh
    // change on port 8 must be the very next message.
    void expect_nothing_published()
    {
        ASSERT_EQ(vekNetlinkNotifySetFlags(8, 0x01, 1), 0);
        notify_wire::Bytes next = next_published();
        EXPECT_EQ(next, notify_wire::encode({.nlFlags = notify_wire::kSentFlags,
                                             .seq = notify_wire::seq_of(next),
                                             .ifIndex = 8, .flags = 0x01, .change = 0x01}));
        ASSERT_EQ(vekNetlinkNotifyClearFlags(8, 0x01, 1), 0);
        next_published();
    }

    std::unique_ptr<netlink_peer::Peer> listener;
    bool opened = false;
};
