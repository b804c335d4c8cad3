#include "netctrl/firmware_image.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

#include "api.h"
#include "common/files.h"
#include "common/text.h"

namespace {

// A model or version. It is shown, logged and passed to a hook.
bool isLabel(std::string_view text) {
    return !text.empty() && text.size() < PLATFORM_FW_TEXT_LEN && text[0] != '-' &&
           std::all_of(text.begin(), text.end(), isNameChar);
}

std::string lowerDigits(std::string_view text) {
    const auto bytes = text.size() == 64 ? parseHex(text) : std::nullopt;
    return bytes && bytes->size() == 32 ? hexText(*bytes) : "";
}

// Removes the first number from a version and returns its digits without leading zeros. Empty for 0
// and at the end.
std::string_view takeDigits(std::string_view& version) {
    constexpr std::string_view kDigits = "0123456789";
    version.remove_prefix(std::min(version.find_first_of(kDigits), version.size()));
    std::string_view number = version.substr(0, version.find_first_not_of(kDigits));
    version.remove_prefix(number.size());
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

}  // namespace

std::optional<Manifest> parseManifest(std::string_view text) {
    Manifest manifest;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        const auto entry = parseKeyValue(line);
        if (!entry || line.starts_with('#')) continue;
        if (entry->key == "MODEL") manifest.model = entry->value;
        if (entry->key == "VERSION") manifest.version = entry->value;
        if (entry->key == "SIZE") manifest.size = parseNumber(entry->value).value_or(0);
        if (entry->key == "SHA256") manifest.sha256 = lowerDigits(entry->value);
        if (entry->key == "HOSTS") manifest.hosts = entry->value;
    }
    const bool good = isLabel(manifest.model) && isLabel(manifest.version) && manifest.size > 0 &&
                      manifest.size <= kMostImage && !manifest.sha256.empty();
    return good ? std::optional(manifest) : std::nullopt;
}

std::strong_ordering compareVersions(std::string_view a, std::string_view b) {
    while (!a.empty() || !b.empty()) {
        const std::string_view x = takeDigits(a), y = takeDigits(b);
        if (x.size() != y.size()) return x.size() <=> y.size();
        if (x != y) return x <=> y;
    }
    return std::strong_ordering::equal;
}

bool isFor(const Manifest& manifest, const std::string& hostname) {
    return manifest.hosts.empty() || matchesAny(manifest.hosts, hostname);
}

std::string readManifest(const std::string& path) {
    std::string text = readFile(path, kMostManifest + 1, Links::kRefuse);
    return text.size() <= kMostManifest ? text : "";
}

std::optional<Stamp> stampOf(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return Stamp{info.st_size, static_cast<int64_t>(info.st_ino), info.st_mtim.tv_sec,
                 info.st_mtim.tv_nsec};
}

std::optional<Digest> Digest::open(const std::string& path) {
    return of(Fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW)));
}

std::optional<Digest> Digest::of(Fd file) {
    auto sha256 = crypto().sha256();
    if (!file || sha256 == nullptr) return std::nullopt;
    return Digest(std::move(file), std::move(sha256));
}

std::string Digest::result() {
    std::array<uint8_t, kSha256Size> bytes;
    return sha256_->finish(bytes) ? hexText(bytes) : "";
}

std::optional<std::string> Digest::step(std::chrono::milliseconds most) {
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + most;
    std::vector<uint8_t> block(size_t{128} * 1024);
    do {
        const ssize_t n = read(file_.get(), block.data(), block.size());
        if (n == 0) return result();
        if (n < 0 || !sha256_->add(Bytes(block).first(static_cast<size_t>(n)))) return "";
    } while (Clock::now() < until);
    return std::nullopt;
}
