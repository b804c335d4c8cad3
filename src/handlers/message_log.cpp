#include "handlers/message_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/clock.h"
#include "base/file_trouble.h"
#include "base/state.h"
#include "db/options.h"

namespace {

constexpr uint8_t kLines = 20;
constexpr int kLinesPerFile = 10;
constexpr int64_t kPeriod = 1000;  // milliseconds; the files are in flash memory

std::string pathOf(int file) {
    return stateOf<MessageLog>().folder + "/vm1905.log" + std::to_string(file);
}

int fileOf(int line) {
    return line > kLinesPerFile ? 1 : 0;
}

int firstLineOf(int file) {
    return file * kLinesPerFile + 1;
}

// The number of the file that was written last.
std::optional<int> newerFile() {
    std::optional<int> newer;
    int64_t latest = 0;  // nanoseconds
    for (const int file : {0, 1}) {
        struct stat info {};
        if (lstat(pathOf(file).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        const int64_t changed = info.st_mtim.tv_sec * 1'000'000'000 + info.st_mtim.tv_nsec;
        if (newer && changed < latest) continue;
        newer = file;
        latest = changed;
    }
    return newer;
}

// The end of the file.
std::string tailOf(const std::string& path) {
    FileTrouble trouble;
    const Fd file = openPublicFile(path, O_RDONLY, 0, trouble);
    char text[512];  // more than a line
    const off_t begin = lseek(file.get(), 0, SEEK_END) - static_cast<off_t>(sizeof text);
    const ssize_t length = pread(file.get(), text, sizeof text, std::max<off_t>(begin, 0));
    return {text, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

// The number in the last line, std::nullopt if the line is damaged.
std::optional<int> lastNumber(std::string_view text) {
    if (!text.ends_with('\n')) return std::nullopt;
    text.remove_suffix(1);
    text.remove_prefix(text.rfind('\n') + 1);  // 0 if this is the only line
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    if (error != std::errc{} || !text.starts_with(": type=")) return std::nullopt;
    return number;
}

int lineAfter(int line) {
    return line < kLines ? line + 1 : 1;
}

// The option is kept in memory only, so the first line after a start follows the last one in the
// files. Otherwise every start would append a line to the same file.
void resume() {
    if (std::exchange(stateOf<MessageLog>().resumed, true)) return;
    const auto file = newerFile();
    if (!file) return;
    const std::string text = tailOf(pathOf(*file));
    // After a damaged line the other file is next: this one is neither lost nor grows.
    int line = firstLineOf(1 - *file);
    if (text.empty()) line = firstLineOf(*file);
    const auto last = lastNumber(text);
    if (last && *last >= 0 && *last <= kLines && fileOf(*last) == *file) line = lineAfter(*last);
    setLogIndexOption(static_cast<uint8_t>(line));
}

// Writes the first of the waiting lines and those that follow it in the same file.
void writeLines() {
    auto& log = stateOf<MessageLog>();
    const int first = log.waiting.front().first;
    const int file = fileOf(first);
    std::string text;
    do {
        text += log.waiting.front().second;
        log.waiting.pop_front();
    } while (!log.waiting.empty() && fileOf(log.waiting.front().first) == file &&
             log.waiting.front().first != firstLineOf(file));
    const std::string path = pathOf(file);
    (void)noteFileTrouble(path, first == firstLineOf(file) ? replacePublicFile(path, text)
                                                           : appendPublicFile(path, text));
    log.earliest = uptimeMs() + kPeriod;
}

}  // namespace

void writeVendMsgLog(const VendMsg& msg, const MacAddr& srcMac) {
    if (getEnableLogOption() == 0) return;
    resume();
    const int line = getLogIndexOption();
    const time_t seconds = wallClock();
    tm local{};
    localtime_r(&seconds, &local);
    char text[128];
    snprintf(text, sizeof text,
             "%d: type=0x%.4x, from: " MAC_FMT "/" MAC_FMT " time: %.2d-%.2d-%.2dT%.2d:%.2d:%.2d\n",
             line, msg.vendMsgType, MAC_ARGS(msg.alMac), MAC_ARGS(srcMac), local.tm_year + 1900,
             local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    auto& waiting = stateOf<MessageLog>().waiting;
    waiting.emplace_back(line, text);
    // Lines that the next ones overwrite in the files.
    if (waiting.size() > kLines) waiting.pop_front();
    setLogIndexOption(static_cast<uint8_t>(lineAfter(line)));
    writeDueMsgLog();
}

void writeDueMsgLog() {
    const auto& log = stateOf<MessageLog>();
    if (!log.waiting.empty() && uptimeMs() >= log.earliest) writeLines();
}

void writeWaitingMsgLog() {
    while (!stateOf<MessageLog>().waiting.empty()) {
        writeLines();
        // The times of the two files show which is newer, but advance only every 10 ms.
        if (!stateOf<MessageLog>().waiting.empty()) sleepMicroseconds(10'000);
    }
}
