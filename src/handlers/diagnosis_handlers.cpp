#include "handlers/diagnosis_handlers.h"

#include <cstdio>
#include <cstring>

#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "handlers/answer_memory.h"
#include "handlers/result_file.h"
#include "orders/control_lists.h"
#include "orders/speed_test.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

// A product's library may be older.
extern "C" decltype(DownloadLogFileAs) DownloadLogFileAs __attribute__((weak));

namespace {

constexpr uint8_t kM1 = 1;
constexpr uint8_t kM2 = 2;

int resultOf(int platformResult) {
    return platformResult == 0 ? kOk : kFailure;
}

int acknowledge(const VendContext& context, VendMsgType type, int retCode) {
    return sendAnswer(context, type, OptionPayload{*getAlMac(), resultByte(retCode)});
}

// vm1905ctl reads both files.
int fetchLogFile(const MacAddr& sender, const LogFileResp& file) {
    const char *name = file.fileName.c_str(), *url = file.ftpUrl.c_str();
    const std::string place = plainText(file.fileName) + "\n" + plainText(file.ftpUrl);
    if (writeResultFile("LogPlace", sender, place) != kOk || DownloadLogFileAs == nullptr) {
        return DownloadLogFile(name, url);
    }
    return DownloadLogFileAs(name, url, resultFileName("Log", sender).c_str());
}

}  // namespace

int handleSpeedTestStartStopMsg(const VendContext& context, const SpeedTestCtrlReq& request) {
    LOG(4, "Enable = %d, Action = %d, URLcount = %d, URL = %s, StartTime = %u, runtime = %u\n",
        request.enable, request.action, static_cast<int>(request.url.size()),
        plainText(request.url).c_str(), request.startTime, request.runtime);
    SpeedTestCtrl ctrl{};
    ctrl.enable = request.enable;
    ctrl.action = request.action;
    snprintf(ctrl.url, sizeof ctrl.url, "%s", request.url.c_str());
    ctrl.startTime = request.startTime;
    ctrl.runtime = request.runtime;
    request.lanMac.copyTo(ctrl.lanMac);
    const int result = setSpeedTestStartStop(&ctrl);
    if (result == 0) noteSpeedTestClient(context.msg.alMac);
    return acknowledge(context, VEND_MSG_TYPE_SPEEDTEST_ACK, result);
}

int handleSpeedTestDataMsg(const VendContext& context, const TextPayload& line) {
    return resultOf(outputSpeedTestData(context.msg.alMac.data(), line.data.c_str()));
}

int handleSpeedTestAckMsg(const VendContext& context, const OptionPayload& answer) {
    const uint8_t result = answer.option;
    if (result != 0)
        LOG(2, "speed test order is refused by (" MAC_FMT "): %d\n", MAC_ARGS(context.msg.alMac),
            result);
    return noteSpeedTestAck(context.msg.alMac, context.msgId);
}

int handleRequestLogFileReqMsg(const VendContext& context, const AlMacPayload& /*request*/) {
    LogFileRef file{};
    if (getResponseLogFile(context.msg.alMac.data(), &file) != 0) return kFailure;
    LogFileResp answer;
    answer.almac = *getAlMac();
    answer.fileName = fieldText(file.fileName);
    answer.ftpUrl = fieldText(file.ftpUrl);
    return sendAnswer(context, VEND_MSG_TYPE_REQUESTLOGFILE_RESP, std::move(answer));
}

int handleResponseLogFileReqMsg(const VendContext& context, const LogFileResp& file) {
    clearLogFileList(context.msg.alMac);
    LOG(4, "Filenamecount = %d, Filename = %s, FTPURLcount = %d, FTPURL = %s\n",
        static_cast<int>(file.fileName.size()), plainText(file.fileName).c_str(),
        static_cast<int>(file.ftpUrl.size()), plainText(file.ftpUrl).c_str());
    return acknowledge(context, VEND_MSG_TYPE_REQUESTLOGFILE_ACK,
                       fetchLogFile(context.msg.alMac, file));
}

int handleAckLogFileReqMsg(const VendContext& context, const OptionPayload& answer) {
    return resultOf(getAckDownloadLogFile(context.msg.alMac.data(), answer.option));
}

int handleSecurityCtrlReqMsg(const VendContext& context, const SecurityCtrlMsg& inner) {
    const uint8_t* sender = context.msg.alMac.data();
    const auto length = static_cast<uint16_t>(inner.data.size());
    switch (inner.innerType) {
        case kM1:
            return resultOf(SecurityCtrl_parseM1(sender, length, inner.data.data()));
        case kM2:
            return resultOf(SecurityCtrl_parseM2(sender, length, inner.data.data()));
        default:
            return kOk;
    }
}
