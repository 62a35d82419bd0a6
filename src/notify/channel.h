// State and steps shared by the files of the notification channel only.
#pragma once

#include <cstdint>
#include <memory>
#include <pthread.h>

#include "core/netlink.h"
#include "core/owned.h"
#include "notify/notify.h"

struct nl_msg;

namespace hapi::notify {

inline constexpr uint32_t kOwnPort = 1001;
inline constexpr uint32_t kShdslPort = 1002;
inline constexpr uint32_t kLinkGroup = 1;  // RTNLGRP_LINK as a group mask

struct Channel {
    std::unique_ptr<vekNotifyIfEntry[]> table;
    int32_t count = 0;
    netlink::Socket socket;
    int32_t capacity = 0;
    pthread_t thread{};
    bool receiving = false;  // thread started and not yet joined or detached
    UniqueFd wake;  // eventfd that tells the receive thread to return
};

// The one channel of the library. Fields are read and written under
// vekNetlinkNotifyLock(), except by the receive thread, which Destroy joins
// before it touches the socket.
Channel &channel();

// Opens the channel for numPorts records, as vekNetlinkNotifyInit does,
// but starts no receive thread: 0, or -1.
int32_t open_channel(int32_t numPorts);

// Reads one datagram on the channel's socket and hands each message in it
// to vekNetlinkMsgValid: what netlink::Socket::receive returns.
int receive_once();

// Builds an rtnetlink link message from a record (RTM_NEWLINK status message
// or RTM_SETLINK acknowledgement) with the destination and header fields
// given; the statistics attributes go in only when withStats is set. nullptr
// when libnl cannot allocate it.
nl_msg *build_link_msg(int type, const vekNotifyIfEntry &entry, uint32_t destPort, uint32_t destGroups,
                       uint32_t seq, bool withStats);

// Completes msg and sends it to the destination set on it: bytes sent, or
// a negative libnl error code.
int send_link_msg(nl_msg *msg);

}  // namespace hapi::notify

// Both run with vekNetlinkNotifyLock() held and do nothing on a closed channel.
void vekNetlinkNotifySendNotifyMsg(vekNotifyIfEntry *entry, uint32_t destGroups, uint32_t destPort,
                                   uint32_t seq);
void vekNetlinkNotifySendSetMsg(vekNotifyIfEntry *entry);

// Sends entry's status message to the link group and empties its pending state.
void vekNetlinkNotifyPublish(vekNotifyIfEntry *entry);

void vekNetlinkServerMonitoringThreadRoutine();

// The receive handler: every message that arrives on the channel, from the
// netlink port `sender`; nlmsg_len bytes of hdr are readable.
void vekNetlinkMsgValid(const nlmsghdr &hdr, uint32_t sender);
