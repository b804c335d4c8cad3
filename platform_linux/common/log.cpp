#include "common/log.h"

#include <fcntl.h>
#include <syslog.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>

#include "base/fd.h"
#include "common/conf.h"

namespace plat {

void logLine(const char* format, ...) {
    std::fputs("[vmNetCtrl] ", stdout);
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is, in the line above
    std::vprintf(format, args);
    va_end(args);
    std::fputs("\r\n", stdout);
    std::fflush(stdout);
}

namespace {

// Opened anew for each line, so that the file may be rotated or removed at any time.
int appendLine(const char* path, const std::string& text) {
    const Fd file(::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
    if (file.get() < 0) {
        PLAT_LOG(2, "can't open log file %s", path);
        return kFailure;
    }
    char stamp[32] = "";
    const time_t now = std::time(nullptr);
    tm local{};
    if (localtime_r(&now, &local) != nullptr)
        (void)std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S ", &local);
    const std::string line = stamp + text + "\n";
    const ssize_t written = ::write(file.get(), line.data(), line.size());
    return written == static_cast<ssize_t>(line.size()) ? kOk : kFailure;
}

}  // namespace
}  // namespace plat

int outputlogData(const char* line) {
    if (line == nullptr) return plat::kFailure;
    std::string text = line;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    // Lines carry texts of other devices, which must not be able to forge a line of their own.
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    const std::string path(plat::conf().value("LOG_FILE"));
    if (!path.empty()) return plat::appendLine(path.c_str(), text);
    ::syslog(LOG_DAEMON | LOG_INFO, "%s", text.c_str());
    return plat::kOk;
}
