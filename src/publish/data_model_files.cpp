#include "publish/data_model_files.h"

#include <algorithm>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/file_trouble.h"
#include "base/log.h"
#include "base/state.h"
#include "db/options.h"
#include "publish/web_copy.h"

namespace {

constexpr int64_t kPauseFactor = 10;

auto& allFiles() {
    return stateOf<DataModelFiles>().files;
}

void writeInFolder(std::string_view name, std::span<const std::string_view> pieces,
                   std::string_view secret) {
    const std::string path = std::string(getDataModelFolderOption()).append("/").append(name);
    LOG(4, "(file = %s)\n", path.c_str());
    std::vector<std::string_view> all(pieces.begin(), pieces.end());
    all.push_back(secret);
    (void)noteFileTrouble(path, replacePublicFile(path, all, getDataModelModeOption()));
}

void rewrite(std::string_view name, bool onlyCopy, DataModelFiles::File& file, RenderFile render) {
    file.waiting = nullptr;
    const int64_t start = uptimeUs();
    render([&](std::span<const std::string_view> pieces, std::string_view secret) {
        if (!onlyCopy) writeInFolder(name, pieces, secret);
        writeWebCopy(name, pieces);
    });
    const int64_t end = uptimeUs();
    file.earliest = end + kPauseFactor * (end - start);
}

}  // namespace

void writeDataModelFile(std::string_view name, RenderFile render, bool onlyCopy) {
    auto& file = allFiles()[{name, onlyCopy}];
    if (uptimeUs() < file.earliest) {
        file.waiting = render;
    } else {
        rewrite(name, onlyCopy, file, render);
    }
}

void writeDueDataModelFiles() {
    for (auto& [key, file] : allFiles()) {
        if (file.waiting != nullptr && uptimeUs() >= file.earliest) {
            rewrite(key.first, key.second, file, file.waiting);
        }
    }
}

int64_t timeToDataModelFile() {
    int64_t left = INT64_MAX;
    for (const auto& [key, file] : allFiles()) {
        if (file.waiting != nullptr) left = std::min(left, file.earliest - uptimeUs());
    }
    return std::max<int64_t>(left, 0);
}

void writeWaitingDataModelFiles() {
    for (auto& [key, file] : allFiles()) {
        if (file.waiting != nullptr) rewrite(key.first, key.second, file, file.waiting);
    }
}
