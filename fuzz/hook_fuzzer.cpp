// Feeds the output of hooks: after a byte of exit status, an input is what every hook prints.
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "api.h"
#include "common/hook.h"
#include "netctrl/notices.h"
#include "platform/exports.h"
#include "process.h"

// Jobs without processes: one ends, with that output, when it is waited for or collected.
namespace {

struct {
    int status = 0;
    std::string output;
    JobDone done;
    size_t maxOutput = 0;
} job;

std::optional<int> endJob() {
    if (const JobDone done = std::exchange(job.done, nullptr)) {
        done(job.status, job.output.substr(0, job.maxOutput));
    }
    return job.status;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): as declared
JobId startJob(std::string_view, const Arguments&, JobOptions options, JobDone done) {
    require(!job.done);
    job.done = std::move(done);
    job.maxOutput = options.maxOutput;
    return 1;
}
std::optional<int> waitJob(JobId, std::chrono::milliseconds) {
    return endJob();
}
void collectJobs() {
    (void)endJob();
}
bool isJobRunning(JobId) {
    return false;
}
bool isJobRunning(const std::string&) {
    return false;
}
void killJob(JobId) {}
void endAllJobs() {}

// What the daemon offers to the library.
uint8_t DEBUGLEVEL = 5;

int sendSecurityCtrlMsg(const uint8_t*, uint8_t type, uint16_t len, const uint8_t* data) {
    require((type == 1 || type == 2) && len > 0 && data != nullptr);
    return 0;
}

namespace {

volatile unsigned sum;

void onService(uint32_t servId, void* info, uint32_t* result) {
    require(servId == SERV_REQ_AP_AUTOCONF_WSC);
    const auto* request = static_cast<const ApAutoConfWscReq*>(info);
    for (unsigned i = 0; i < request->frameLen; i++) sum = sum + request->frame[i];
    *result = 0;
}

void onEvent(uint32_t eventId, const void* info, uint32_t* result) {
    require(eventId != NET_STATUS_LED ||
            textOf({static_cast<const uint8_t*>(info), 33}).find('\0') != std::string_view::npos);
    *result = 0;
}

// A getter of a text in a buffer of that size: ended within it, and empty unless it succeeded.
template <size_t N>
void checkText(int (*get)(char*)) {
    char text[N];
    std::fill_n(text, N, 'x');
    if (get(text) == 0) require(isTerminated(text) && text[0] != '\0');
}

void askForTexts() {
    checkText<PLATFORM_FW_TEXT_LEN>(getNewFWversion);
    checkText<PLATFORM_FW_TEXT_LEN>(getNewFWdate);
    checkText<PLATFORM_SYNC_DATA_LEN>(getWIFIStateSync);
    checkText<PLATFORM_SYNC_DATA_LEN>(getExtenderConfig);
    checkText<PLATFORM_SYNC_DATA_LEN>(getSpeedTestData);
    checkText<PLATFORM_FW_TEXT_LEN>(
        [](char* text) { return getNewFWVersionByPlatform("a", "b", text); });
    char url[PLATFORM_FW_URL_LEN], file[PLATFORM_FW_FILE_NAME_LEN];
    if (getDownloanURL("a", "b", url, file) == 0) require(isTerminated(url) && isTerminated(file));
}

void askForRecords(const uint8_t* mac) {
    LogFileRef log{};
    if (getResponseLogFile(mac, &log) == 0) {
        require(isTerminated(log.fileName) && isTerminated(log.ftpUrl));
    }
    BcnRpt report{};
    if (getBcnRptReq(&report) == 0) require(report.len <= sizeof report.data);
    WifiStationList list{};
    (void)getWIFIConfig(&list);
    unsigned num = 0;
    while (WifiStation* const station = list.head) {
        require(isTerminated(station->tx) && isTerminated(station->rx));
        require(isTerminated(station->connType));
        list.head = station->next;
        free(station);
        num++;
    }
    require(num == list.count);
}

void act(const uint8_t* mac) {
    (void)SecurityCtrl_parseM1(mac, 6, mac);
    (void)SecurityCtrl_parseM2(mac, 6, mac);
    (void)SecurityCtrl_cleanDataToList();
    collectJobs();
    ApAutoConfInfo info{};
    (void)notifyApAutoConfRespMsgReceived(&info);
    const ApAutoConfWsc wsc{{}, {}, 6, mac, {}};
    (void)notifyApAutoConfWscMsgReceived(&wsc);
    (void)setLEDvalue(1);
    LedState led{};
    require(getLEDState(&led) == 0 && isTerminated(led.status) && isTerminated(led.brightness));
    reportNotices(onEvent);
}

void provideHooks() {
    for (const char* name :
         {"autoconf-response", "autoconf-wsc", "beacon-report-get", "extender-config-get",
          "extender-firmware-url", "extender-firmware-version", "led", "log-file-publish",
          "new-firmware-date", "new-firmware-version", "security-m1", "security-m2",
          "security-start", "speed-test-data", "stations", "wifi-state-get"}) {
        require(chmod(writeScratch(name, {}).c_str(), 0755) == 0);
    }
    setenv("VM1905_HOOKS", scratch().c_str(), 1);
    (void)setServReqCallbackFunc(onService);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool areProvided = (provideHooks(), true);
    ByteReader reader({data, size});
    job.status = areProvided ? reader.u8() : 0;
    job.output = textOf(reader.take(reader.left()));
    forgetHooks();
    const uint8_t mac[] = {2, 0, 0, 0, 0, 1};
    askForTexts();
    askForRecords(mac);
    act(mac);
    return 0;
}
