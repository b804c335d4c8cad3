// The configuration of this device: which file it is, and what the log says about it.
#include <cstdlib>
#include <functional>
#include <optional>

#include "common/conf.h"
#include "common/files.h"
#include "common/log.h"

namespace {

enum class Complaints { kLog, kDrop };

// Far above any sensible file; the rest is ignored.
constexpr size_t kMaxFile = size_t{64} * 1024;

struct {
    std::optional<Conf> conf;
} loaded;

void load(Complaints complaints) {
    const char* given = secure_getenv("VM1905_PLATFORM_CONF");
    const char* path = given != nullptr ? given : "/etc/vm1905/platform.conf";
    std::string text = readFile(path, kMaxFile + 1);
    if (text.size() > kMaxFile) {
        text.resize(kMaxFile);
        if (complaints == Complaints::kLog) {
            LOG_LINE(2, "%s is longer than %zu bytes; the rest is ignored", path, kMaxFile);
        }
    }
    Conf fresh;
    if (complaints == Complaints::kLog) {
        FewComplaints few("platform.conf",
                          [](const std::string& line) { LOG_LINE(1, "%s", line.c_str()); });
        fresh.parse(text, std::ref(few));
    } else {
        fresh.parse(text, [](int, const std::string&) {});
    }
    loaded.conf = std::move(fresh);
}

}  // namespace

const Conf& conf() {
    if (!loaded.conf) load(Complaints::kDrop);
    return *loaded.conf;
}

void reloadConf() {
    load(Complaints::kLog);
}
