// The configuration of this device: which file it is, and what the log says about it.
#include <fcntl.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
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

bool load(Complaints complaints) {
    const char* given = secure_getenv("VM1905_PLATFORM_CONF");
    const char* path = given != nullptr ? given : "/etc/vm1905/platform.conf";
    const Fd file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const bool isRefused = !file && errno != ENOENT;
    if (isRefused && complaints == Complaints::kLog) {
        LOG_LINE(1,
                 "can't open %s: %s. The daemon's user must be able to read it; under "
                 "vm1905.service: chown root:vm1905, chmod 0640",
                 path, strerror(errno));
    }
    std::string text = file ? readFile(file, kMaxFile + 1) : "";
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
    return !isRefused;
}

}  // namespace

const Conf& conf() {
    if (!loaded.conf) (void)load(Complaints::kDrop);
    return *loaded.conf;
}

bool reloadConf() {
    return load(Complaints::kLog);
}
