#include "netctrl/upgrade_image.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <openssl/evp.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <vector>

#include "common/conf.h"
#include "common/text.h"
#include "platform/device.h"

namespace plat {
namespace {

// A version is shown, logged, compared as it is and an argument of a hook.
bool isVersion(std::string_view text) {
    return !text.empty() && text.size() < PLATFORM_FW_TEXT_LEN && text[0] != '-' &&
           std::all_of(text.begin(), text.end(), isNameChar);
}

std::string lowerDigits(std::string_view text) {
    const auto bytes = text.size() == 64 ? parseHex(text) : std::nullopt;
    return bytes && bytes->size() == 32 ? hexText(*bytes) : "";
}

}  // namespace

std::optional<Manifest> parseManifest(std::string_view text) {
    Manifest manifest;
    while (!text.empty()) {
        const std::string_view line = lineOf(text, 0);
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
        const size_t equals = line.find('=');
        if (line.starts_with('#') || equals == line.npos) continue;
        const std::string_view key = trim(line.substr(0, equals));
        const std::string_view value = trim(line.substr(equals + 1));
        if (key == "VERSION") manifest.version = value;
        if (key == "SHA256") manifest.sha256 = lowerDigits(value);
        if (key == "HOSTS") manifest.hosts = value;
    }
    if (!isVersion(manifest.version) || manifest.sha256.empty()) return std::nullopt;
    return manifest;
}

bool isFor(const Manifest& manifest, const char* hostname) {
    bool found = manifest.hosts.empty();
    forEachWord(manifest.hosts, [&](std::string_view word) {
        found = found || ::fnmatch(std::string(word).c_str(), hostname, 0) == 0;
    });
    return found;
}

std::string readManifest(const std::string& path) {
    const Fd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    std::string text(kMostManifest + 1, '\0');
    const ssize_t n = file.get() >= 0 ? ::read(file.get(), text.data(), text.size()) : -1;
    if (n < 0 || static_cast<size_t>(n) > kMostManifest) return {};
    text.resize(static_cast<size_t>(n));
    return text;
}

std::optional<Stamp> stampOf(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return Stamp{info.st_size, static_cast<int64_t>(info.st_ino), info.st_mtim.tv_sec,
                 info.st_mtim.tv_nsec};
}

std::optional<Digest> Digest::open(const std::string& path) {
    Fd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    Context context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (file.get() < 0 || context == nullptr ||
        EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    return Digest(std::move(file), std::move(context));
}

std::string Digest::result() {
    std::array<uint8_t, EVP_MAX_MD_SIZE> bytes;
    unsigned size = 0;
    if (EVP_DigestFinal_ex(context_.get(), bytes.data(), &size) != 1) return {};
    return hexText({bytes.data(), size});
}

std::optional<std::string> Digest::step(std::chrono::milliseconds most) {
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + most;
    std::vector<uint8_t> block(size_t{128} * 1024);
    do {
        const ssize_t n = ::read(file_.get(), block.data(), block.size());
        if (n == 0) return result();
        if (n < 0 || EVP_DigestUpdate(context_.get(), block.data(), static_cast<size_t>(n)) != 1)
            return "";
    } while (Clock::now() < until);
    return std::nullopt;
}

}  // namespace plat
