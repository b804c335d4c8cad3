#include "device_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>

#include "failure.h"
#include "orders.h"
#include "terminal.h"

namespace {

constexpr size_t kMostBytes = 4UL << 20;
constexpr double kAnswerLimit = 8, kFetchLimit = 60;  // seconds without --timeout
constexpr std::chrono::milliseconds kPause{100};

struct File {
    std::string path;
    struct stat before {};  // of the file when the log was requested
};

// The content of a regular file, of at most kMostBytes; nothing if it is the one from before.
std::optional<std::string> readNew(const File& file) {
    const int fd = open(file.path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    std::optional<std::string> text;
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
        (info.st_ino != file.before.st_ino || info.st_mtim.tv_sec != file.before.st_mtim.tv_sec ||
         info.st_mtim.tv_nsec != file.before.st_mtim.tv_nsec)) {
        text.emplace(kMostBytes, '\0');
        size_t size = 0;
        for (ssize_t got = 1; got > 0 && size < kMostBytes; size += static_cast<size_t>(got)) {
            got = std::max<ssize_t>(read(fd, text->data() + size, kMostBytes - size), 0);
        }
        text->resize(size);
    }
    close(fd);
    return text;
}

File fileOf(const char* kind, const Mac& device) {
    File file{std::string("/tmp/vm1905/vm1905") + kind + "_"};
    for (const char c : device.text()) file.path += c == ':' ? "" : std::string(1, c);
    (void)lstat(file.path.c_str(), &file.before);
    return file;
}

std::optional<std::string> waitFor(Session& session, const File& file, double limit) {
    const auto most = std::chrono::duration<double>(session.options().timeout.value_or(limit));
    std::optional<std::string> text;
    for (std::chrono::milliseconds waited{}; !(text = readNew(file)) && waited < most;
         waited += kPause) {
        if (!session.isWaiting(static_cast<unsigned>(waited.count()))) break;
        std::this_thread::sleep_for(kPause);
    }
    session.done();
    return text;
}

constexpr Column<std::string> kLine[] = {
    {"line", "", [](const std::string& l) { return Json(l); }}};

}  // namespace

Report fetchLog(Session& session, const std::string& device) {
    const Mac mac = session.otherDevice(device);
    const std::string called = session.called(mac);
    const File place = fileOf("LogPlace", mac), log = fileOf("Log", mac);
    carryOut(session, kServRequestLogFile, mac, vm1905_request_log_file);
    session.expect("the answer of " + called);
    const auto published = waitFor(session, place, kAnswerLimit);
    if (!published) {
        throw Failure{kTimedOut, called + " has not answered where its log is",
                      "it needs the hook log-file-publish, and must accept orders of this device"};
    }
    session.expect("the log of " + called);
    const auto text = waitFor(session, log, kFetchLimit);
    if (!text) {
        const size_t end = published->find('\n');
        throw Failure{kRefused,
                      "the log of " + called + " has not been fetched: it is " +
                          published->substr(0, end) + " at " +
                          published->substr(end + 1, published->size() - end - 2),
                      "the hook log-file-fetch of this device must put it into " + log.path};
    }
    std::vector<std::string> lines;
    Report report;
    for (size_t at = 0; at < text->size();) {
        const size_t end = std::min(text->find('\n', at), text->size());
        lines.push_back(text->substr(at, end - at));
        report.drawing += escaped(lines.back()) + "\n";
        at = end + 1;
    }
    report.sections = {listOf("lines", "", kLine, lines, "the log is empty")};
    return report;
}
