// SFP signal scan: one thread per SFP port, started at port initialisation,
// that follows the platform's signal detect while the link scan sees the
// link up and waits while it is down.
#include <cstdlib>
#include <pthread.h>

#include "core/os.h"
#include "phy/phy.h"
#include "platform/vekplatform.h"

namespace {

constexpr const char *kStartStep = "hapiPhyInternalStartSoftwareSignalThread";
constexpr const char *kInitStep = "hapiPhyInitPort";
constexpr const char *kThreadStep = "sfpSignalScanThread";
constexpr const char *kSignalStep = "hapiPhyInternalGetSignalState";

constexpr const char *kNoMemory = "Error allocating memory";
constexpr const char *kNoMutex = "Error creating mutex";
constexpr const char *kNoCondition = "Error creating condition";
constexpr const char *kNoThread = "Error starting SFP thread - got";
constexpr const char *kStartFailed =
    "Error starting SFP SW thread(see additional logs from hapiStartSoftwareSignalThread)";
constexpr const char *kNullParam = "SFP SW Signal scan thread called with NULL param";
constexpr const char *kBadParam = "SFP SW Signal scan thread invalid parameter";
constexpr const char *kUpdateFailed = "ERROR UPDATING PORT VALUES";
constexpr const char *kReadFailed = "ERROR READING SIGNAL VALUE";

constexpr uint32_t kPoll = 1;
constexpr uint32_t kWait = 2;
constexpr uint32_t kPollPeriodMs = 50;
constexpr uint8_t kSignalUnit = 1;
constexpr uint8_t kSignalSlot = 1;

// The message code of the step's own reports is 1 whatever the error.
void start_error(int line, const char *message, int port, int value)
{
    hapi::diag::phy_error(line, HAPI_PHY_E_PHASE, message, port, hapi::diag::PortItem::Word, kStartStep, value);
}

int start(int port)
{
    auto *argument = static_cast<int *>(std::malloc(sizeof(int)));
    if (!argument) {
        start_error(__LINE__, kNoMemory, port, -1);
        return HAPI_PHY_E_NOMEM;
    }
    *argument = port;
    PortThreadInfo &info = portThreadInfo[port];
    if (pthread_mutex_init(&info.mutex, nullptr) != 0) {
        std::free(argument);
        start_error(__LINE__, kNoMutex, port, -1);
        return HAPI_PHY_E_PHASE;
    }
    if (pthread_cond_init(&info.cond, nullptr) != 0) {
        std::free(argument);
        start_error(__LINE__, kNoCondition, port, -1);
        return HAPI_PHY_E_PHASE;
    }
    pthread_mutex_lock(&info.mutex);
    info.signalEvent = kWait;
    pthread_mutex_unlock(&info.mutex);
    const int r = hapi::os::thread_start(&info.thread, sfpSignalScanThread, argument, false);
    if (r != 0) {
        std::free(argument);
        start_error(__LINE__, kNoThread, port, r);
        return HAPI_PHY_E_PHASE;
    }
    return HAPI_PHY_OK;
}

// The port's link as the SFP's signal detect gives it; a failed reading is no signal.
uint32_t signal_state(int port)
{
    using hapi::diag::PortItem;
    if (vekpf_SpiPortUpdate() != 0) {
        hapi::diag::phy_error(__LINE__, HAPI_PHY_E_PHASE, kUpdateFailed, port, PortItem::Word, kSignalStep, -1);
        return HAPI_LINK_DOWN;
    }
    uint32_t signal = static_cast<uint32_t>(-1);
    if (vekpf_SfpSignalDetectGet(usp_t{kSignalUnit, kSignalSlot, static_cast<int16_t>(port)}, &signal) != 0)
        hapi::diag::phy_error(__LINE__, HAPI_PHY_E_PHASE, kReadFailed, port, PortItem::Word, kSignalStep, -1);
    return signal == 1 ? HAPI_LINK_UP : HAPI_LINK_DOWN;
}

}  // namespace

int hapi::phy::start_sfp_thread(int port) noexcept
{
    if (!portThreadInfo || port < 0 || port >= numOfPorts)
        return fail(__LINE__, HAPI_PHY_E_WRONG_PORT, kStartFailed, port, diag::PortItem::FromUsp, kInitStep, -1);
    const int error = start(port);
    if (error != 0)
        return fail(__LINE__, error, kStartFailed, port, diag::PortItem::FromUsp, kInitStep, -1);
    return 0;
}

void *sfpSignalScanThread(void *argument) noexcept
{
    using hapi::diag::PortItem;
    if (!argument) {
        hapi::diag::phy_error(__LINE__, HAPI_PHY_E_PARAM, kNullParam, -1, PortItem::Word, kThreadStep, -1);
        return nullptr;
    }
    const int port = *static_cast<int *>(argument);
    std::free(argument);
    if (port < 0 || port >= numOfPorts || !portThreadInfo) {
        hapi::diag::phy_error(__LINE__, HAPI_PHY_E_PARAM, kBadParam, port, PortItem::Word, kThreadStep, -1);
        return nullptr;
    }
    PortThreadInfo &info = portThreadInfo[port];
    while (hapi::os::thread_keep_running()) {
        pthread_mutex_lock(&info.mutex);
        while (info.signalEvent != kPoll && hapi::os::thread_keep_running())
            hapi::os::thread_wait(&info.cond, &info.mutex);
        const bool poll = info.signalEvent == kPoll;
        pthread_mutex_unlock(&info.mutex);
        if (!poll)
            continue;
        hapiPhyInternalSetLinkstate(port, signal_state(port));
        vekApiOsSleep(kPollPeriodMs);
    }
    return nullptr;
}
