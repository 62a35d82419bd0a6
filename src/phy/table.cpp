#include <atomic>
#include <pthread.h>

#include "phy/phy.h"
#include "core/port_map.h"

HAPI_API int32_t numOfPorts = 0;
HAPI_API PhyPortSettings *portSettings = nullptr;
HAPI_API pthread_mutex_t portSettingsMutex = PTHREAD_MUTEX_INITIALIZER;
HAPI_API PortCallbackSlots *portCallbacks = nullptr;
HAPI_API PortThreadInfo *portThreadInfo = nullptr;
HAPI_API int32_t phyDeviceState = HAPI_PHY_PHASE_NONE;
HAPI_API uint32_t *finalPowerState = nullptr;
HAPI_API int32_t lastBCMError = HAPI_PHY_OK;
HAPI_API uint32_t ethPortSpeed = 0;
HAPI_API uint32_t ethPortDuplex = 0;
HAPI_API uint32_t ethPortAutonegStatus = 0;

namespace hapi::phy {

namespace {

static_assert(static_cast<unsigned>(Word::LedState) * sizeof(uint32_t) == offsetof(PhyPortSettings, ledState));
static_assert(static_cast<unsigned>(Word::Advertisement) * sizeof(uint32_t) ==
              offsetof(PhyPortSettings, advertisement));

uint32_t *word_of(int port, Word word)
{
    auto *words = reinterpret_cast<uint32_t *>(&portSettings[port]);
    return &words[static_cast<unsigned>(word)];
}

Status check(int port)
{
    if (!portSettings)
        return Status::not_ready;
    if (port < 0 || port >= numOfPorts)
        return Status::out_of_range;
    return Status::ok;
}

}  // namespace

Status read_word(int port, Word word, uint32_t &value) noexcept
{
    TableLock lock;
    const Status a = check(port);
    if (a == Status::ok)
        value = *word_of(port, word);
    return a;
}

Status write_word(int port, Word word, uint32_t value) noexcept
{
    TableLock lock;
    const Status a = check(port);
    if (a == Status::ok)
        *word_of(port, word) = value;
    return a;
}

void set_last_error(int32_t error) noexcept
{
    std::atomic_ref<int32_t>(lastBCMError).store(error, std::memory_order_relaxed);
}

int fail(int line, int error, const char *message, int port, diag::PortItem width, const char *step,
         int value, uint32_t severity) noexcept
{
    set_last_error(error);
    diag::phy_error(line, error, message, port, width, step, value, severity);
    return 1;
}

int fail_access(int line, Status access, int port, diag::PortItem width, const char *step,
                int value) noexcept
{
    static constexpr CodeMap kAccessErrors{HAPI_PHY_E_NO_TABLE,
                                           {{Status::out_of_range, HAPI_PHY_E_WRONG_PORT}}};
    const char *message = access == Status::out_of_range ? kMsgWrongPort : kMsgNoTable;
    return fail(line, kAccessErrors(access), message, port, width, step, value);
}

void invoke_callbacks(int port, unsigned slot, uint32_t value) noexcept
{
    // The lists only grow and their nodes are never freed, so walking without a lock is safe.
    if (!portCallbacks || port < 0 || port >= numOfPorts || slot >= HAPI_CB_SLOT_COUNT)
        return;
    const auto physical = static_cast<uint32_t>(ports::physical_of(port));
    // Registration may publish a new head while the scan walks the list.
    PortCallbackNode *&head = portCallbacks[port].slot[slot];
    for (const PortCallbackNode *n = std::atomic_ref(head).load(std::memory_order_acquire); n; n = n->next)
        if (n->callback)
            n->callback(0, physical, value);
}

}  // namespace hapi::phy

HAPI_API int32_t hapiPhyReturnLastError(void) noexcept
{
    return std::atomic_ref<int32_t>(lastBCMError).exchange(HAPI_PHY_OK, std::memory_order_relaxed);
}
