#include "config_check.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/conf.h"
#include "db/conf_file.h"
#include "failure.h"
#include "views.h"
#include "wsc/wifi_conf.h"

namespace {

constexpr Column<ConfigTrouble> kColumns[] = {
    {"file", "FILE", [](const ConfigTrouble& t) { return Json(t.file); }},
    {"line", "LINE", [](const ConfigTrouble& t) { return t.line == 0 ? Json() : Json(t.line); }},
    {"text", "TEXT", [](const ConfigTrouble& t) { return Json(t.text); }},
};

constexpr size_t kMostRead = size_t{64} * 1024;  // of the files of the platform library

std::string contentOf(FILE* file, const ConfComplaint& complain) {
    std::string text(kMostRead + 1, '\0');
    text.resize(fread(text.data(), 1, text.size(), file));
    if (text.size() > kMostRead) complain(0, "longer than 64 KiB, the rest is not read");
    return text.substr(0, kMostRead);
}

struct ConfigFile {
    std::string_view beginning;  // of its name
    std::string_view part;       // somewhere in its name
    const char* path;
    const char* variable;  // of the environment, with another path
    bool isOptional;
    void (*check)(FILE* file, const ConfComplaint& complain);
};

constexpr ConfigFile kFiles[] = {
    {"vm1905", ".conf", "/etc/vm1905/vm1905.conf", nullptr, false, checkConfigFile},
    {"platform", "", "/etc/vm1905/platform.conf", "VM1905_PLATFORM_CONF", true,
     [](FILE* file, const ConfComplaint& complain) {
         Conf().parse(contentOf(file, complain), complain);
     }},
    {"wifi", "", "/etc/vm1905/wifi.conf", "VM1905_WIFI_CONF", true,
     [](FILE* file, const ConfComplaint& complain) {
         (void)parseWifiConf(contentOf(file, complain), complain);
     }},
};

void checkFile(const ConfigFile& kind, const std::string& path, bool mayBeMissing,
               std::vector<ConfigTrouble>& out) {
    const auto complain = [&](int line, const std::string& text) {
        out.push_back({path, line, text, false});
    };
    // O_NONBLOCK: a FIFO of that name must not stop the check.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fd >= 0 ? fdopen(fd, "r") : nullptr, fclose);
    if (file != nullptr) kind.check(file.get(), complain);
    const bool isRead = file != nullptr && ferror(file.get()) == 0;
    if (!isRead && !(mayBeMissing && errno == ENOENT)) {
        const int error = errno;
        out.push_back(
            {path, 0, std::string("cannot be read: ") + std::strerror(error), error == EACCES});
    }
}

}  // namespace

std::string ConfigTrouble::all() const {
    return file + ":" + (line == 0 ? "" : std::to_string(line) + ":") + " " + text;
}

std::vector<ConfigTrouble> checkConfig(const std::vector<std::string>& files) {
    std::vector<ConfigTrouble> out;
    for (const std::string& path : files) {
        const std::string name = path.substr(path.rfind('/') + 1);
        const auto* const kind = std::ranges::find_if(kFiles, [&](const ConfigFile& known) {
            return name.starts_with(known.beginning) && name.find(known.part) != name.npos;
        });
        if (kind == std::end(kFiles)) {
            throw Failure{kUsage, path + " is no configuration file by its name",
                          "names are vm1905*.conf*, platform* and wifi*"};
        }
        checkFile(*kind, path, false, out);
    }
    for (const ConfigFile& kind : kFiles) {
        const char* const other = kind.variable != nullptr ? getenv(kind.variable) : nullptr;
        if (files.empty())
            checkFile(kind, other != nullptr ? other : kind.path, kind.isOptional, out);
    }
    return out;
}

Report showConfigTrouble(Session& session, const std::vector<std::string>& files) {
    const auto found = checkConfig(files);
    const int status = found.empty() ? kDone : kRefused;
    if (session.options().format != Format::kText) {
        return {{listOf("complaints", "", kColumns, found, "")}, status};
    }
    // As compilers print them, so that editors find the line.
    Section lines{"", "", false, {}, {{}}};
    for (const ConfigTrouble& trouble : found) {
        lines.headings.push_back({"", "", Unit::kNone, kPlain});
        lines.rows[0].emplace_back(trouble.all());
    }
    return {{lines}, status};
}
