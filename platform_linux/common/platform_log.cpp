// The platform log: outputlogData of platform/lifecycle.h.
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <ctime>
#include <string>

#include "api.h"
#include "base/result.h"
#include "base/text.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/log.h"

namespace {

// Opens the file for each line, so that it may be rotated or removed at any time.
int appendLine(const char* path, const std::string& text) {
    const Fd file = openOwnFile(path, O_WRONLY | O_APPEND | O_CREAT, 0640);
    if (!file) {
        LOG_LINE(2, "can't open log file %s", path);
        return kFailure;
    }
    char stamp[32] = "";
    const time_t now = time(nullptr);
    tm local{};
    if (localtime_r(&now, &local) != nullptr) {
        strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S ", &local);
    }
    const std::string line = stamp + text + "\n";
    const ssize_t written = write(file.get(), line.data(), line.size());
    return written == static_cast<ssize_t>(line.size()) ? kOk : kFailure;
}

}  // namespace

int outputlogData(const char* line) {
    if (line == nullptr) return kFailure;
    std::string text = line;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    // Lines contain texts from other devices, which must not be able to forge lines.
    text = plainLine(text);
    const std::string path(conf().value("LOG_FILE"));
    if (!path.empty()) return appendLine(path.c_str(), text);
    syslog(LOG_DAEMON | LOG_INFO, "%s", text.c_str());
    return kOk;
}
