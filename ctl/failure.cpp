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
            return "start it, or look at its log for why it ended";
        case VM1905_RESTARTED:
            return asked == Asked::kRead ? "repeat the command"
                                         : "look whether it was obeyed before you repeat it";
        case VM1905_TIMEOUT:
            return asked == Asked::kRead ? "the daemon is silent. To wait longer: --timeout"
                   : asked == Asked::kHere
                       ? "the daemon is silent; it may have obeyed all the same. To wait longer: "
                         "--timeout"
                       : "the device, or the daemon, is silent; it may have obeyed all the same. "
                         "Look whether it is there: vm1905ctl devices. To wait longer: --timeout";
        case VM1905_BUSY:
            return "nothing was asked; repeat the command";
        case VM1905_SYSTEM:
            return "run it as the user of the daemon, or as root";
        case VM1905_NO_INTF:
        case VM1905_NO_OWN_INTF:
            return "see which there are: vm1905ctl interfaces, vm1905ctl device DEVICE";
        case VM1905_NO_PWR_STATE:
            return "most interfaces know on and off only";
        case VM1905_NO_NEIGHBOR:
        case VM1905_NO_DEVICE:
            return "see which devices there are: vm1905ctl devices";
        case VM1905_FAILED:
            if (asked == Asked::kNeighbor)
                return "the log of the device that was to obey tells why: it may not allow it, or "
                       "its platform has no way to do it";
            return asked == Asked::kHere ? "the log of this device's daemon tells why: its "
                                           "platform may have no way to do it"
                                         : "the log of this device's daemon tells why";
        case VM1905_UNCHANGED:
            return "it is as you want it already; the length of the change log cannot be 0";
        case VM1905_BAD_TYPE:
            return "the types are 0, 1, 2, 4, 5 and 7 to 12";
        case VM1905_NO_TABLE:
        case VM1905_WRONG_STATE:
        case VM1905_NO_TOPOLOGY:
            return "wait until vm1905ctl status shows the topology as available";
        default:
            return "";
    }
}

}  // namespace

void check(int result, const std::string& what, Asked asked) {
    if (result == VM1905_OK) return;
    const int error = errno;
    std::string text = (what.empty() ? "" : what + ": ") + vm1905_strerror(result);
    if (result > 0) text += " (code " + std::to_string(result) + ")";
    if (result == VM1905_SYSTEM) text += std::string(": ") + std::strerror(error);
    throw Failure{statusOf(result), text, adviceFor(result, asked), result};
}
