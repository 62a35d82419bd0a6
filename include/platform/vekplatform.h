/* What libhapi expects of the board's platform library: port conversion,
 * factory settings, port types, SFP signal detect, OS semaphores, the
 * structured log channel and the FDB shadow table. */
#ifndef VEKPLATFORM_H
#define VEKPLATFORM_H

#include <stdint.h>
#include "hapi/hapi_types.h"
#include "platform/vekfdbshadow.h"

HAPI_BEGIN_DECLS

#define VEKPF_FACTORY_SETTINGS_SIZE 352
#define VEKPF_FACTORY_BASE_MAC_OFFSET 320

int vekpf_ParamInit(int a, int b, int c, int d, uint32_t size, const char *name, int e);
int vekpf_FactorySettingGet(void *record);
int vekApiIf_MaxPhysIntfCountGet(void);
/* Writes the physical port of usp; returns -1 when the usp names no port. */
int vekpf_VekUspToBcmPort(usp_t usp, int *physicalPort);
int vekpf_VekBcmPortToUsp(int physicalPort, usp_t *usp);
int vekpf_GetPortCount(uint32_t *count);
/* Writes the platform's port type of usp, 0 when it has none. */
int vekpf_PortTypeGet(usp_t usp, uint32_t *type);
int vekpf_SpiPortUpdate(void);
/* Writes 1 when the SFP's signal is present; 0 on success. */
int vekpf_SfpSignalDetectGet(usp_t usp, uint32_t *signal);

/* OS services. A timeout of VEK_WAIT_FOREVER blocks until the semaphore is given. */
typedef void *VEK_SEM_ID;
#define VEK_WAIT_FOREVER (-1)
VEK_SEM_ID _vekApiOsSemaMCreate(int options);
VEK_SEM_ID _vekApiOsSemaBCreate(int options, int initialState);
int vekApiOsSemaTake(VEK_SEM_ID sem, int timeoutMs);
int vekApiOsSemaGive(VEK_SEM_ID sem);
void vekApiOsSleep(uint32_t milliseconds);

/* Structured log channel. Items follow `facility` as (kind, size, value)
 * triples and end with a single 0: kind 3 text (size 0x7FFFFFFF, char *),
 * kind 1 integer (size 2 or 4: int; size 8: int64_t). */
#define VEKLOG_ITEM_INT 1
#define VEKLOG_ITEM_TEXT 3
#define VEKLOG_TEXT_SIZE 0x7FFFFFFF
void veklog_preInit(int numOfPorts);
int veklog_throwMsg(const char *sourceFile, int line, uint32_t messageId, uint32_t severityClass,
                    uint32_t facility, ...);

/* FDB shadow table: a vekShadowTable block (platform/vekfdbshadow.h). */
extern void *shadowTbl;
extern int shadowTblChanged;
int vekCompareMacEntries2(const void *a, const void *b);
void *vekFdbSyncShadowFdbThread(void *arg);
int hapiFdbCacheInit(void);

HAPI_END_DECLS

#endif
