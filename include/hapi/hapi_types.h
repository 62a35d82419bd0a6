/* Records shared by every family of the hardware API. Layouts are fixed:
 * the application reads these globals directly. */
#ifndef HAPI_TYPES_H
#define HAPI_TYPES_H

#include <stdint.h>
#include "hapi/hapi_export.h"

HAPI_BEGIN_DECLS

/* How the application names a port; only `port` (the logical port) is read. */
typedef struct usp_s {
    uint8_t unit;
    uint8_t slot;
    int16_t port;
} usp_t;

#define HAPI_MAX_LOGICAL_PORTS 96
#define HAPI_FRONT_PORT_COUNT 4
#define HAPI_IFNAME_SIZE 16

/* In use when unit and module are both 0; empty is 0xFF, 0xFF, -1. */
typedef struct SwitchPortMapEntry_s {
    uint8_t unit;
    uint8_t module;
    int16_t physicalPort;
} SwitchPortMapEntry;

typedef struct torvikSwitchingHw_s {
    uint32_t unitCount;
    uint32_t portCount;
    SwitchPortMapEntry portMap[HAPI_MAX_LOGICAL_PORTS];
} torvikSwitchingHwType;

/* PHY value codes. */
enum {
    HAPI_LINK_UP = 1,
    HAPI_LINK_DOWN = 2,
    HAPI_ADMIN_ENABLED = 1,
    HAPI_ADMIN_DISABLED = 2,
    HAPI_POWER_ON = 3,
    HAPI_POWER_OFF = 4,
    HAPI_PORT_TYPE_COPPER = 1,
    HAPI_PORT_TYPE_FIBRE = 2,
    HAPI_PORT_TYPE_SFP = 4,
    HAPI_PORT_TYPE_DISABLED = 5
};

/* Speed/duplex code: one bit per mode. */
enum {
    HAPI_SPEED_10_HALF = 0x01,
    HAPI_SPEED_10_FULL = 0x02,
    HAPI_SPEED_100_HALF = 0x04,
    HAPI_SPEED_100_FULL = 0x08,
    HAPI_SPEED_1000_FULL = 0x10,
    HAPI_SPEED_2500_FULL = 0x20,
    HAPI_SPEED_3000_FULL = 0x40
};

/* PHY error numbers (values of lastBCMError). */
enum {
    HAPI_PHY_OK = 0,
    HAPI_PHY_E_PHASE = -1,
    HAPI_PHY_E_NOMEM = -2,
    HAPI_PHY_E_PARAM = -4,
    HAPI_PHY_E_NO_POWER_TABLE = -11,
    HAPI_PHY_E_SPEED_CODE = -15,
    HAPI_PHY_E_SPEED_UNAVAILABLE = -16,
    HAPI_PHY_E_NO_TABLE = -17,
    HAPI_PHY_E_WRONG_PORT = -18
};

/* One per logical port: fourteen 32-bit words in this order. */
typedef struct PhyPortSettings_s {
    uint32_t linkState;
    uint32_t portType;
    uint32_t adminState;
    uint32_t cableCrossing;
    uint32_t autoPowerDown;
    uint32_t powerState;
    uint32_t autonegState;
    uint32_t speedDuplex;
    uint32_t maxSpeedDuplex;
    uint32_t capabilities[2];
    uint32_t advertisement;
    uint32_t flowControl;
    uint32_t ledState;
} PhyPortSettings;

/* Callback slots, by the PhyPortSettings word they report. */
enum {
    HAPI_CB_LINK_STATE = 0,
    HAPI_CB_PORT_TYPE = 1,
    HAPI_CB_ADMIN_STATE = 2,
    HAPI_CB_CABLE_CROSSING = 3,
    HAPI_CB_AUTO_POWER_DOWN = 4,
    HAPI_CB_POWER_STATE = 5,
    HAPI_CB_AUTONEG = 6,
    HAPI_CB_SPEED_DUPLEX = 7,
    HAPI_CB_MAX_SPEED = 8,
    HAPI_CB_UNUSED = 9,
    HAPI_CB_ADVERTISEMENT = 10,
    HAPI_CB_FLOW_CONTROL = 11,
    HAPI_CB_SLOT_COUNT = 12
};

/* (unit, physical port, new value); unit is always 0, the result is ignored. */
typedef int (*PhyPortCallback)(uint32_t unit, uint32_t physicalPort, uint32_t value);

typedef struct PortCallbackNode_s {
    PhyPortCallback callback;
    struct PortCallbackNode_s *next;
} PortCallbackNode;

typedef struct PortCallbackSlots_s {
    PortCallbackNode *slot[HAPI_CB_SLOT_COUNT];
} PortCallbackSlots;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(usp_t) == 4 && offsetof(usp_t, port) == 2);
static_assert(sizeof(SwitchPortMapEntry) == 4 && offsetof(SwitchPortMapEntry, physicalPort) == 2);
static_assert(sizeof(torvikSwitchingHwType) == 8 + 96 * 4);
static_assert(offsetof(torvikSwitchingHwType, portMap) == 8);
static_assert(sizeof(PhyPortSettings) == 14 * 4);
static_assert(offsetof(PhyPortSettings, capabilities) == 9 * 4);
static_assert(offsetof(PhyPortSettings, ledState) == 13 * 4);
static_assert(sizeof(PortCallbackSlots) == 12 * sizeof(void *));
#else
#include <stddef.h>
_Static_assert(sizeof(usp_t) == 4, "usp is 4 bytes");
_Static_assert(sizeof(torvikSwitchingHwType) == 392, "two words and 96 entries");
_Static_assert(sizeof(PhyPortSettings) == 56, "fourteen words");
#endif

#endif
