#include "platform/exports.h"

#include <sys/reboot.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/log.h"
#include "base/result.h"
#include "handlers/message_log.h"

int rebootSystem() {
    writeWaitingMsgLog();
    sync();
    if (reboot(RB_AUTOBOOT) == 0) return kOk;
    LOG(1, "can't reboot: %s\n", strerror(errno));
    return kFailure;
}
