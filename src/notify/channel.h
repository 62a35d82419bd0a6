// State and steps shared by the files of the notification channel only.
#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

#include "notify/notify.h"

struct nl_cb;
struct nl_sock;

namespace hapi::notify {

inline constexpr uint32_t kOwnPort = 1001;
inline constexpr uint32_t kShdslPort = 1002;
inline constexpr uint32_t kLinkGroup = 1;  // RTNLGRP_LINK as a group mask

struct Channel {
    vekNotifyIfEntry *table = nullptr;
    int32_t count = 0;
    nl_cb *callbacks = nullptr;
    nl_sock *socket = nullptr;
    int32_t capacity = 0;
    pthread_t thread{};
    bool receiving = false;  // thread started and not yet joined or detached
    int wakeFd = -1;  // eventfd that tells the receive thread to return
};

// The one channel of the library. Fields are read and written under
// vekNetlinkNotifyLock(), except by the receive thread, which Destroy joins
// before it touches the socket.
Channel &channel();

// Builds an rtnetlink link message from a record (RTM_NEWLINK status message
// or RTM_SETLINK acknowledgement) with the destination and header fields
// given; the statistics attributes go in only when withStats is set. nullptr
// when libnl cannot allocate it.
nl_msg *build_link_msg(int type, const vekNotifyIfEntry &entry, uint32_t destPort, uint32_t destGroups,
                       uint32_t seq, bool withStats);

}  // namespace hapi::notify

// Both run with vekNetlinkNotifyLock() held and do nothing on a closed channel.
void vekNetlinkNotifySendNotifyMsg(vekNotifyIfEntry *entry, uint32_t destGroups, uint32_t destPort,
                                   uint32_t seq);
void vekNetlinkNotifySendSetMsg(vekNotifyIfEntry *entry);

// Sends entry's status message to the link group and empties its pending state.
void vekNetlinkNotifyPublish(vekNotifyIfEntry *entry);

void vekNetlinkServerMonitoringThreadRoutine();
