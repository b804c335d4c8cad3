#include "publish/data_model_files.h"

#include <malloc.h>

#include <algorithm>

#include "base/clock.h"
#include "base/file_trouble.h"
#include "base/log.h"
#include "base/state.h"
#include "db/options.h"

namespace {

constexpr int64_t kPauseFactor = 10;
constexpr size_t kMuchText = 131072;

auto& allFiles() {
    return stateOf<DataModelFiles>().files;
}

// The allocator keeps what a large mesh, or a flood, once took.
void giveBackMemory() {
#ifdef __GLIBC__
    (void)malloc_trim(0);
#endif
}

void noteSize(DataModelFiles::File& file, size_t size) {
    file.largest = std::max(file.largest, size);
    if (file.largest < kMuchText || size >= file.largest / 2) return;
    giveBackMemory();
    file.largest = size;
}

void rewrite(std::string_view name, DataModelFiles::File& file, RenderFile render) {
    file.waiting = nullptr;
    const int64_t start = uptimeUs();
    const std::string path = std::string(getDataModelFolderOption()).append("/").append(name);
    LOG(4, "(file = %s)\n", path.c_str());
    size_t size = 0;
    render([&](std::span<const std::string_view> pieces) {
        (void)noteFileTrouble(path, replacePublicFile(path, pieces, getDataModelModeOption()));
        for (const auto& piece : pieces) size += piece.size();
    });
    noteSize(file, size);
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
