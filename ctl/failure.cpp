#include "failure.h"

#include <cerrno>
#include <cstring>

#include "vm1905_client.h"

namespace {

Exit statusOf(int result) {
    switch (result) {
        case VM1905_NO_DAEMON:
        case VM1905_RESTARTED:
            return kNoDaemon;
        case VM1905_TIMEOUT:
        case VM1905_BUSY:
            return kTimedOut;
        case VM1905_BAD_ARGUMENT:
            return kUsage;
        default:
            return kRefused;
    }
}

const char* adviceFor(int result, Asked asked) {
    switch (result) {
        case VM1905_NO_DAEMON:
            return "start it; if it has ended, its log says why";
        case VM1905_RESTARTED:
            return asked == Asked::kRead
                       ? "repeat the command"
                       : "check whether the order was carried out before you repeat it";
        case VM1905_TIMEOUT:
            return asked == Asked::kRead ? "the daemon does not answer. To wait longer: --timeout"
                   : asked == Asked::kHere
                       ? "the daemon does not answer, but may have done it. To wait longer: "
                         "--timeout"
                       : "the device or the daemon does not answer, but may have done it. To see "
                         "whether the device is there: vm1905ctl devices. To wait longer: "
                         "--timeout";
        case VM1905_BUSY:
            return "nothing was sent; repeat the command";
        case VM1905_FOREIGN:
            return "restart the daemon as root, which removes it; or as root: ipcrm -M 190510 -M "
                   "190511";
        case VM1905_SYSTEM:
            return "run it as the user of the daemon, as a member of its CHANNEL_GROUP, or as root";
        case VM1905_NO_INTF:
        case VM1905_NO_OWN_INTF:
            return "to list interfaces: vm1905ctl interfaces, vm1905ctl device DEVICE";
        case VM1905_NO_PWR_STATE:
            return "most interfaces support only on and off";
        case VM1905_NO_NEIGHBOR:
        case VM1905_NO_DEVICE:
            return "to list devices: vm1905ctl devices";
        case VM1905_FAILED:
            if (asked == Asked::kNeighbor)
                return "the log of the other device says why: it may not allow it, or its platform "
                       "may "
                       "not support it";
            return asked == Asked::kHere ? "the log of this device's daemon says why: its "
                                           "platform may not support it"
                                         : "the log of this device's daemon says why";
        case VM1905_UNCHANGED:
            return "the value is already set; or it is 0, which the change log does not allow";
        case VM1905_BAD_TYPE:
            return "the types are 0, 1, 2, 4, 5, and 7 to 12";
        case VM1905_NO_TABLE:
        case VM1905_WRONG_STATE:
        case VM1905_NO_TOPOLOGY:
            return "wait until vm1905ctl status shows the topology as available";
        default:
            return "";
    }
}

}  // namespace

void throwFailure(int result, const std::string& what, Asked asked) {
    const int error = errno;
    std::string text = (what.empty() ? "" : what + ": ") + vm1905_strerror(result);
    const std::string code = "code " + std::to_string(result);
    if (result > 0 && !text.ends_with(code)) text += " (" + code + ")";
    if (result == VM1905_SYSTEM) text += std::string(": ") + std::strerror(error);
    throw Failure{statusOf(result), text, adviceFor(result, asked), result};
}
