#include "handlers/result_file.h"

#include <cstdio>

#include "base/file_trouble.h"
#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/device_table.h"

namespace {

constexpr size_t kMaxResultSenders = 256;

// False if the device is unknown or too many have left files already: /tmp is often in memory, and
// strangers must not fill it.
bool mayLeaveResult(const MacAddr& sender) {
    if (getIeee1905DevTableById(sender) == nullptr) return false;
    auto& senders = stateOf<ResultFiles>().senders;
    if (senders.size() < kMaxResultSenders) senders.insert(sender);
    return senders.contains(sender);
}

// Meant: refuses what not every shell's echo prints alike, although none prints it here: a
// backslash or a NUL, or an option of echo.
bool isAccepted(std::string_view text) {
    const bool isOption =
        text.size() > 1 && text[0] == '-' && text.find_first_not_of("neE", 1) == text.npos;
    return !isOption && text.find_first_of(std::string_view("\\\0", 2)) == text.npos;
}

}  // namespace

const char* resultText(int result) {
    return result == 0 ? "success" : "fail";
}

std::string resultFileName(const char* order, const MacAddr& sender) {
    char name[48];
    snprintf(name, sizeof name, "vm1905%s_%02x%02x%02x%02x%02x%02x", order, MAC_ARGS(sender));
    return name;
}

int writeResultFile(const char* order, const MacAddr& sender, std::string_view text) {
    if (!isAccepted(text) || !mayLeaveResult(sender)) {
        LOG(2, "refuse the result text of " MAC_FMT "\n", MAC_ARGS(sender));
        return kFailure;
    }
    const std::string& folder = stateOf<ResultFiles>().folder;
    if (noteFileTrouble(folder, makePublicFolder(folder)) != kOk) return kFailure;
    const std::string path = folder + "/" + resultFileName(order, sender);
    return noteFileTrouble(path, replacePublicFile(path, std::string(text) + "\n"));
}
