#include "publish/web_copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "base/file_trouble.h"
#include "base/public_file.h"
#include "db/options.h"

namespace {

constexpr std::array<std::string_view, 3> kNames{"vm1905.json", "vm1905_APautoconfig.json",
                                                 "vm1905_log.json"};
constexpr mode_t kFolderMode = S_ISGID | 0750;  // new files get the group of the folder
constexpr mode_t kFileMode = 0640;

// What a copy contains. A name that ends with a dot is that of numbered objects. Only texts that
// are stored without quotes (plainText), because a copy must be valid JSON.
constexpr std::array<std::string_view, 50> kShared{
    "AL",
    "AP-autoconfig_Sync",
    "Backhaultype",
    "BuildNumber",
    "ChangeLog.",
    "ConnType",
    "Device",
    "DeviceIP",
    "DeviceMode",
    "DeviceType",
    "DeviceUptime",
    "Enable",
    "EventType",
    "FirmwareState",
    "FirmwareVersion",
    "Guest24G_time",
    "Guest5G_time",
    "Hostname",
    "IEEE1905Device.",
    "IEEE1905DeviceNumberOfEntries",
    "IEEE1905Id",
    "IEEE1905Neighbor.",
    "IEEE802dot1Bridge",
    "Interface.",
    "InterfaceId",
    "InterfaceName",
    "LocalInterface",
    "Main24G_time",
    "Main5G_time",
    "MediaType",
    "NeighborDeviceId",
    "NeighborId",
    "NeighborInterfaceId",
    "NeighborType",
    "NetworkTopology",
    "NonIEEE1905Neighbor.",
    "PowerState",
    "RATE",
    "RSSI",
    "ReleaseVersion",
    "ReporterDeviceId",
    "Rx",
    "SignalLevel",
    "Status",
    "TimeStamp",
    "Tx",
    "WIFI24GChannel",
    "WIFI5G2Channel",
    "WIFI5GChannel",
    "X_5E1F09_IEEE1905",
};
static_assert(std::ranges::is_sorted(kShared));

class Filter {
  public:
    void addLine(std::string_view line) {
        line.remove_prefix(std::min(line.find_first_not_of('\t'), line.size()));
        if (line.ends_with(',')) line.remove_suffix(1);
        const bool opens = line.ends_with('{');
        if (line.starts_with('}')) {
            if (leftOut_ > 0) {
                leftOut_--;
            } else {
                close();
            }
        } else if (leftOut_ > 0) {
            leftOut_ += opens ? 1 : 0;
        } else if (line == "{") {
            open(line);
        } else if (!isShared(line)) {
            leftOut_ = opens ? 1 : 0;
        } else {
            out_.append(isFirst_ ? "\n" : ",\n").append(depth_, '\t');
            if (opens) {
                open(line);
            } else {
                out_.append(line);
                isFirst_ = false;
            }
        }
    }

    std::string finish() {
        if (out_.empty()) open("{");
        while (depth_ > 0) close();
        return std::move(out_.append("\n"));
    }

  private:
    static bool isShared(std::string_view line) {
        if (!line.starts_with('"')) return false;
        const std::string_view key = line.substr(1, line.find('"', 1) - 1);
        return std::ranges::binary_search(kShared, key.substr(0, key.find('.') + 1)) ||
               std::ranges::binary_search(kShared, key);
    }

    void open(std::string_view line) {
        out_.append(line);
        depth_++;
        isFirst_ = true;
    }

    void close() {
        if (depth_ == 0) return;
        depth_--;
        out_.append("\n").append(depth_, '\t').append("}");
        isFirst_ = false;
    }

    std::string out_;
    size_t depth_ = 0;
    size_t leftOut_ = 0;  // objects that are open and not copied
    bool isFirst_ = true;
};

bool isCopy(const std::string& name) {
    return std::ranges::any_of(kNames, [&](std::string_view known) {
        return name == known || name == temporaryName(std::string(known));
    });
}

// Why the folder is no place for copies; else removes those that are there.
FileTrouble emptyFolder(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    std::vector<fs::path> found;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        if (!isCopy(entry->path().filename())) {
            return entry->path().string() + " is no copy; the folder must have no other use";
        }
        found.push_back(entry->path());
    }
    for (const auto& copy : found) fs::remove(copy, error);
    return error ? error.message() : "";
}

FileTrouble prepareFolder(const std::string& path, const Owner& owner, ClaimLog log) {
    claimFolder(path, owner, log);
    (void)mkdir(path.c_str(), 0700);
    const Fd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {
    }, model{};
    if (!folder || fstat(folder.get(), &info) != 0) return strerror(errno);
    if (info.st_uid != owner.user && info.st_uid != geteuid()) return "it has another owner";
    if (stat(getDataModelFolderOption(), &model) == 0 && model.st_dev == info.st_dev &&
        model.st_ino == info.st_ino) {
        return "it is the data-model folder";
    }
    if (FileTrouble trouble = emptyFolder(path); !trouble.empty()) return trouble;
    const gid_t group = getWebGroupOption().value_or(owner.group);
    // Under vm1905.service neither call is allowed, but the folder is ready.
    const bool isReady = info.st_uid == owner.user && info.st_gid == group &&
                         (info.st_mode & ~S_IFMT) == kFolderMode;
    if (isReady ||
        (fchown(folder.get(), owner.user, group) == 0 && fchmod(folder.get(), kFolderMode) == 0)) {
        return "";
    }
    return strerror(errno);
}

}  // namespace

void makeWebFolder(const Owner& owner, ClaimLog log) {
    const std::string path = withoutSlash(getWebFolderOption());
    if (path.empty()) return;
    const FileTrouble trouble = prepareFolder(path, owner, log);
    if (trouble.empty()) return;
    log("WEB_FOLDER: can't use " + path + ": " + trouble);
    setWebFolderOption("");
}

std::string webCopyOf(std::span<const std::string_view> pieces) {
    Filter filter;
    for (const std::string_view piece : pieces) {
        for (size_t pos = 0; pos < piece.size();) {
            const size_t end = std::min(piece.find('\n', pos), piece.size());
            filter.addLine(piece.substr(pos, end - pos));
            pos = end + 1;
        }
    }
    return filter.finish();
}

void writeWebCopy(std::string_view name, std::span<const std::string_view> pieces) {
    std::string path = getWebFolderOption();
    if (path.empty() || std::ranges::find(kNames, name) == kNames.end()) return;
    path.append("/").append(name);
    (void)noteFileTrouble(path, replacePublicFile(path, webCopyOf(pieces), kFileMode));
}
