#include "handlers/message_log.h"

#include <ctime>

#include "base/clock.h"
#include "base/shell.h"
#include "db/options.h"

namespace {

constexpr int kLines = 20;
constexpr int kLinesPerFile = 10;

}  // namespace

void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac) {
    if (getEnableLogOption() == 0) return;
    int line = getLogIndexOption();
    const time_t seconds = wallClock();
    tm local{};
    localtime_r(&seconds, &local);
    const char* redirection = line == 1 || line == kLinesPerFile + 1 ? ">" : ">>";
    // Meant: the folder is fixed, whatever LOG_FOLDER says.
    (void)runShell("echo \"%d: type=0x%.4x, from: " MAC_FMT "/" MAC_FMT
                   " time: %.2d-%.2d-%.2dT%.2d:%.2d:%.2d\" %s /etc/vm1905/vm1905.log%d",
                   line, msg.vendMsgType, MAC_ARGS(msg.alMac), MAC_ARGS(srcMac),
                   local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                   local.tm_min, local.tm_sec, redirection, line > kLinesPerFile ? 1 : 0);
    line++;
    setLogIndexOption(static_cast<uint8_t>(line > kLines ? 1 : line));
}
