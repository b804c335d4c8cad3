#include "handlers/result_file.h"

#include <cstdio>

#include "base/log.h"
#include "base/public_file.h"
#include "base/result.h"
#include "base/shell.h"
#include "base/state.h"

namespace {

constexpr size_t kMaxResultSenders = 4096;

// False if too many devices have left files already: /tmp is often in memory, and strangers must
// not fill it.
bool mayLeaveResult(const MacAddr& sender) {
    auto& senders = stateOf<ResultFiles>().senders;
    if (senders.size() < kMaxResultSenders) senders.insert(sender);
    return senders.contains(sender);
}

}  // namespace

const char* resultText(int result) {
    return result == 0 ? "success" : "fail";
}

int writeResultFile(const char* order, const MacAddr& sender, std::string_view text) {
    char path[64];
    snprintf(path, sizeof path, "/tmp/vm1905/vm1905%s_%02x%02x%02x%02x%02x%02x", order,
             MAC_ARGS(sender));
    const auto escaped = escapeForEcho(text);
    if (!escaped || !mayLeaveResult(sender)) {
        LOG(2, "refuse the result text of " MAC_FMT "\n", MAC_ARGS(sender));
        return kFailure;
    }
    (void)runShell("mkdir -p /tmp/vm1905");
    if (!isOrdinaryFile(path)) return kFailure;
    return runShell("echo \"%s\" > %s", escaped->c_str(), path) == 0 ? kOk : kFailure;
}
