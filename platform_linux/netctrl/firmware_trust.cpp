#include "netctrl/firmware_trust.h"

#include <algorithm>
#include <vector>

#include "api.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/log.h"
#include "crypto/crypto.h"

namespace {

constexpr size_t kMostKeys = 32;
constexpr size_t kMostKeyFile = size_t{16} * 1024;
constexpr std::string_view kKeySuffix = ".pem";

std::string keyFolder() {
    return std::string(conf().value("FIRMWARE_KEYS"));
}

// The public keys, in PEM. Read for every image, so that one can be added or removed at any time.
std::vector<std::string> readKeys() {
    std::vector<std::string> keys;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(keyFolder(), error), end;
         !error && entry != end && keys.size() < kMostKeys; entry.increment(error)) {
        const std::string path = entry->path();
        if (!path.ends_with(kKeySuffix)) continue;
        std::string pem = readFile(path, kMostKeyFile);
        if (crypto().isSigningKey(pem)) {
            keys.push_back(std::move(pem));
        } else {
            LOG_LINE(1, "firmware: %s is no Ed25519 public key and is ignored", path.c_str());
        }
    }
    return keys;
}

Refusal checkSignature(const std::string& text, const std::string& signature) {
    if (signature.size() != kSignatureSize) {
        return "the signature of its manifest is missing or has another size than 64 bytes; sign "
               "it with scripts/sign-firmware";
    }
    const auto keys = readKeys();
    if (std::none_of(keys.begin(), keys.end(), [&](const std::string& pem) {
            return crypto().hasSigned(pem, text, signature);
        })) {
        return "no key of FIRMWARE_KEYS has signed its manifest as it is; sign it with the right "
               "key, or put the public key into that folder";
    }
    return {};
}

}  // namespace

bool needsSignature() {
    return conf().value("FIRMWARE_UNSIGNED") != "yes" || conf().has("FIRMWARE_KEYS");
}

Refusal checkTrust() {
    if (!needsSignature()) return {};
    if (!conf().has("FIRMWARE_KEYS")) {
        return "this device has no keys to verify images; set FIRMWARE_KEYS in platform.conf";
    }
    return readKeys().empty() ? "FIRMWARE_KEYS has no *.pem file with an Ed25519 public key; put "
                                "the key of the images there"
                              : Refusal();
}

std::filesystem::file_time_type keysChanged() {
    std::error_code error;
    return std::filesystem::last_write_time(keyFolder(), error);
}

std::string readSignature(const std::string& imagePath) {
    return readFile(imagePath + std::string(kManifestSuffix) + std::string(kSignatureSuffix),
                    kSignatureSize + 1, Links::kRefuse);
}

std::optional<Manifest> readTrusted(const std::string& imagePath, Refusal& refusal) {
    return checkManifest(readManifest(imagePath + std::string(kManifestSuffix)),
                         needsSignature() ? readSignature(imagePath) : "", refusal);
}

std::optional<Manifest> checkManifest(const std::string& text, const std::string& signature,
                                      Refusal& refusal) {
    refusal = checkTrust();
    if (refusal.empty() && needsSignature()) refusal = checkSignature(text, signature);
    if (!refusal.empty()) return std::nullopt;
    auto manifest = parseManifest(text);
    if (!manifest) {
        refusal =
            "its manifest has no usable MODEL, VERSION, SIZE and SHA256; make it with "
            "scripts/sign-firmware";
    }
    return manifest;
}

Refusal checkFits(const Manifest& manifest) {
    char hostname[128], version[128];
    getHostname(hostname);
    getFirmwareVersion(version);
    const std::string_view model = conf().value("FIRMWARE_MODEL");
    if (manifest.model != model) {
        return "it is for the model " + manifest.model +
               ", but FIRMWARE_MODEL of platform.conf is " +
               (model.empty() ? "not set" : std::string(model));
    }
    if (!isFor(manifest, hostname)) {
        return "HOSTS of its manifest does not include this device, " + std::string(hostname);
    }
    if (compareVersions(manifest.version, version) <= 0 &&
        conf().value("FIRMWARE_DOWNGRADE") != "yes") {
        return "version " + manifest.version + " is not higher than the running " + version +
               "; set FIRMWARE_DOWNGRADE = yes in platform.conf to install it";
    }
    return {};
}

bool isRunning(const Manifest& manifest) {
    char version[128];
    getFirmwareVersion(version);
    return manifest.version == version;
}

void warnOfUnsigned() {
    if (needsSignature()) return;
    LOG_LINE(1,
             "firmware: FIRMWARE_UNSIGNED = yes: images are installed without a signature, no "
             "matter who made them; set FIRMWARE_KEYS instead");
}
