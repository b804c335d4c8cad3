#include "base/file_trouble.h"

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"

int noteFileTrouble(const std::string& path, const FileTrouble& trouble) {
    auto& failing = stateOf<FailingFiles>().paths;
    if (trouble.empty()) {
        failing.erase(path);
        return kOk;
    }
    if (failing.insert(path).second) {
        LOG(1, "failed to write %s: %s\r\n", path.c_str(), trouble.c_str());
    }
    return kFailure;
}
