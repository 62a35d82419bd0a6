/* PHY layer: the per-port table, callback lists, SFP thread records, the
 * device phase and the last error, all readable by the application. */
#ifndef HAPI_PHY_H
#define HAPI_PHY_H

#include <pthread.h>
#include <stdint.h>
#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

/* One per logical port; used by the SFP signal scan thread of type 4 ports. */
typedef struct PortThreadInfo_s {
    pthread_mutex_t mutex;
    pthread_cond_t cond;
    uint32_t signalEvent; /* 0 no thread, 1 poll (link up), 2 wait */
    pthread_t thread;
} PortThreadInfo;

/* Device phases (phyDeviceState). */
enum { HAPI_PHY_PHASE_NONE = 0, HAPI_PHY_PHASE_BOOT = 1, HAPI_PHY_PHASE_UNCONFIGURE = 2, HAPI_PHY_PHASE_RUNNING = 3 };

/* Logical ports managed: port 0 and the front ports (1..95). */
HAPI_API extern int32_t numOfPorts;
/* numOfPorts records each, null before the boot phase, never freed. */
HAPI_API extern PhyPortSettings *portSettings;
/* Guards single words of portSettings; statically initialised, so it is
 * usable (and the missing table detectable) before the boot phase. */
HAPI_API extern pthread_mutex_t portSettingsMutex;
HAPI_API extern PortCallbackSlots *portCallbacks;
HAPI_API extern PortThreadInfo *portThreadInfo;
HAPI_API extern int32_t phyDeviceState;
/* Power state (0 none, 3 on, 4 off) requested per logical port outside the running phase. */
HAPI_API extern uint32_t *finalPowerState;
/* Error number of the last PHY operation; fetched and cleared by hapiPhyReturnLastError. */
HAPI_API extern int32_t lastBCMError;
/* Values for the next speed/duplex and autonegotiation commands of the device layer. */
HAPI_API extern uint32_t ethPortSpeed;         /* Mb/s */
HAPI_API extern uint32_t ethPortDuplex;        /* 1 full, 0 half */
HAPI_API extern uint32_t ethPortAutonegStatus; /* 1 on, 0 off */

/* Command block of hapiPhyAdminstate and hapiPhyPowerState. */
typedef struct PhyStateCommand_s {
    uint32_t command; /* HAPI_PHY_CMD_SET, HAPI_PHY_CMD_GET */
    uint16_t value;   /* SET: the new value; GET: receives the stored one */
} PhyStateCommand;

enum { HAPI_PHY_CMD_SET = 1, HAPI_PHY_CMD_GET = 2 };

/* Event types of callback registration: 0..8 report PhyPortSettings words
 * 0..8, 9 the advertisement. */
#define HAPI_PHY_CB_TYPE_MAX 9

/* Phases. Each returns 0 or 1 and leaves the error number in lastBCMError.
 * The boot phase takes the number of logical ports (1..95) and builds the
 * tables; ports are then initialised and the running phase applies the
 * power states requested meanwhile. */
HAPI_API int hapiPhyEnterBootPhase(int32_t count) HAPI_NOEXCEPT;
HAPI_API int hapiPhyEnterUnconfigurePhase(void) HAPI_NOEXCEPT;
HAPI_API int hapiPhyEnterRunningPhase(void) HAPI_NOEXCEPT;

/* Initialises the logical port usp->port once; result[1] receives its type.
 * The second argument is not read. 0 or 1. */
HAPI_API int hapiPhyInitPort(const usp_t *usp, uint32_t reserved, uint32_t *result) HAPI_NOEXCEPT;

/* Registers fn for the port of a physical port (unit not read): 0, -2 no
 * memory, -4 type above HAPI_PHY_CB_TYPE_MAX, -17 no table, -18 no such port.
 * The newest registration is called first. */
HAPI_API int32_t hapiPhyCallbackPort(int32_t physicalPort, uint32_t unit, uint32_t type,
                                     PhyPortCallback fn) HAPI_NOEXCEPT;
/* The same for logical ports 0..numOfPorts-1: 0, or 1 at the first port that
 * fails (ports before it stay registered). */
HAPI_API int hapiPhyCallbackAllPorts(uint32_t unit, uint32_t type, PhyPortCallback fn) HAPI_NOEXCEPT;

/* Admin state (1 enabled, 2 disabled) and power state (3 on, 4 off) of the
 * logical port usp->port; the second argument is not read. 0 or 1. */
HAPI_API int hapiPhyAdminstate(const usp_t *usp, uint32_t reserved, PhyStateCommand *block) HAPI_NOEXCEPT;
HAPI_API int hapiPhyPowerState(const usp_t *usp, uint32_t reserved, PhyStateCommand *block) HAPI_NOEXCEPT;

/* Returns lastBCMError and sets it to 0. */
HAPI_API int32_t hapiPhyReturnLastError(void) HAPI_NOEXCEPT;

/* Sets the port LED from admin, power and link state: 0, or 1 when the PHY
 * table is missing (lastBCMError -17). */
HAPI_API int hapiPhyCheckLEDAdminState(int logicalPort) HAPI_NOEXCEPT;

/* No port of this board has an external PHY: these answer 0 and change nothing. */
HAPI_API int hapiPhyIsExternalPhy(int port) HAPI_NOEXCEPT;
HAPI_API int hapiPhyExternalPhyGetConnState(int port) HAPI_NOEXCEPT;
HAPI_API int hapiPhyExternalPhySetConnState(int port, int state) HAPI_NOEXCEPT;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(offsetof(PhyStateCommand, value) == 4);
static_assert(offsetof(PortThreadInfo, mutex) == 0);
static_assert(offsetof(PortThreadInfo, cond) == sizeof(pthread_mutex_t));
static_assert(offsetof(PortThreadInfo, signalEvent) == sizeof(pthread_mutex_t) + sizeof(pthread_cond_t));
#endif

#endif
