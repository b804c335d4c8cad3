#include "common/command.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "base/result.h"
#include "common/job.h"

namespace {

constexpr std::chrono::milliseconds kKillWait{100};

}  // namespace

int runCommand(std::string_view program, bool quiet) {
    const JobId id = startJob(program, {}, {.maxOutput = 0, .quiet = quiet}, {});
    if (id == 0) return kFailure;
    const auto limit = programs()[*programNumber(program)].limit;
    return waitJob(id, limit + kKillWait).value_or(kFailure);
}

std::string findProgram(std::string_view name) {
    const char* path = getenv("PATH");
    std::string folders = path != nullptr ? path : "";
    folders += ":/usr/sbin:/usr/bin:/sbin:/bin";
    for (size_t start = 0; start <= folders.size();) {
        const size_t end = std::min(folders.find(':', start), folders.size());
        std::string file = folders.substr(start, end - start) + "/" + std::string(name);
        if (file.starts_with('/') && access(file.c_str(), X_OK) == 0) return file;
        start = end + 1;
    }
    return {};
}
