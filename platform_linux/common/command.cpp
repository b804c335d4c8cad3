#include "common/command.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "base/result.h"
#include "common/job.h"

namespace {

constexpr std::chrono::milliseconds kKillWait{100};

}  // namespace

int runCommand(const std::vector<std::string>& argv, const CommandOptions& options) {
    std::string* output = options.output;
    if (output != nullptr) output->clear();
    // Shared: the job may be collected after this function has returned.
    const auto printed = std::make_shared<std::string>();
    const JobId id = startJob(argv,
                              {.limit = options.limit,
                               .maxOutput = output != nullptr ? options.maxOutput : 0,
                               .quiet = options.quiet},
                              [printed](int, const std::string& text) { *printed = text; });
    if (id == 0) return kFailure;
    const int status = waitJob(id, options.limit + kKillWait).value_or(kFailure);
    if (output != nullptr) *output = *printed;
    return status;
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
