#include "publish/data_model_files.h"

#include <algorithm>

#include "base/clock.h"
#include "base/file_trouble.h"
#include "base/log.h"
#include "base/state.h"
#include "db/options.h"

namespace {

constexpr int64_t kPauseFactor = 10;

auto& allFiles() {
    return stateOf<DataModelFiles>().files;
}

void rewrite(std::string_view name, DataModelFiles::File& file, RenderFile render) {
    file.waiting = nullptr;
    const int64_t start = uptimeUs();
    const std::string path = std::string(getDataModelFolderOption()).append("/").append(name);
    LOG(4, "(file = %s)\n", path.c_str());
    render([&](std::span<const std::string_view> pieces) {
        (void)noteFileTrouble(path, replacePublicFile(path, pieces, getDataModelModeOption()));
    });
    const int64_t end = uptimeUs();
    file.earliest = end + kPauseFactor * (end - start);
}

}  // namespace

void writeDataModelFile(std::string_view name, RenderFile render) {
    auto& file = allFiles()[name];
    if (uptimeUs() < file.earliest) {
        file.waiting = render;
    } else {
        rewrite(name, file, render);
    }
}

void writeDueDataModelFiles() {
    for (auto& [name, file] : allFiles()) {
        if (file.waiting != nullptr && uptimeUs() >= file.earliest) {
            rewrite(name, file, file.waiting);
        }
    }
}

int64_t timeToDataModelFile() {
    int64_t left = INT64_MAX;
    for (const auto& [name, file] : allFiles()) {
        if (file.waiting != nullptr) left = std::min(left, file.earliest - uptimeUs());
    }
    return std::max<int64_t>(left, 0);
}

void writeWaitingDataModelFiles() {
    for (auto& [name, file] : allFiles()) {
        if (file.waiting != nullptr) rewrite(name, file, file.waiting);
    }
}
