// Firmware images and their manifests: "X.manifest" describes the image "X" in the same folder.
// Whether a manifest can be trusted is in firmware_trust.
#pragma once

#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "crypto/crypto.h"

inline constexpr std::string_view kManifestSuffix = ".manifest";
inline constexpr size_t kMostManifest = size_t{16} * 1024;

inline constexpr uint64_t kMostImage = uint64_t{512} * 1024 * 1024;

// Model and version consist of letters, digits and . _ + - and do not start with -
struct Manifest {
    std::string model;
    std::string version;
    uint64_t size = 0;   // of the image in bytes
    std::string sha256;  // of the image, 64 lower-case digits
    std::string hosts;   // patterns of host names that it is meant for; empty: all
};

// Parses "KEY = value" lines. None if MODEL, VERSION, SIZE or SHA256 is missing or malformed. Any
// bytes are safe.
std::optional<Manifest> parseManifest(std::string_view text);

// Compares the numbers in two versions, from left to right. All other characters only separate
// them, and missing numbers count as 0: "1.9" < "1.10" == "v1.10.0" < "1.10-1".
std::strong_ordering compareVersions(std::string_view a, std::string_view b);

// Whether the image is meant for a device of that host name.
bool isFor(const Manifest& manifest, const std::string& hostname);

// The text of the file; empty if it cannot be read or is too long for a manifest.
std::string readManifest(const std::string& path);

// Size, inode and modification time of a file: changes when the file does.
using Stamp = std::array<int64_t, 4>;
// None if there is no such regular file.
std::optional<Stamp> stampOf(const std::string& path);

// Computes the SHA-256 of a file in steps.
class Digest {
  public:
    // None if the file cannot be opened or SHA-256 is unavailable.
    static std::optional<Digest> open(const std::string& path);
    static std::optional<Digest> of(Fd file);

    // Continues for about that long. Returns the 64 digits at the end of the file, an empty text if
    // reading fails, and none before.
    std::optional<std::string> step(std::chrono::milliseconds most = std::chrono::milliseconds(40));

  private:
    Digest(Fd file, std::unique_ptr<Sha256> sha256)
        : file_(std::move(file)), sha256_(std::move(sha256)) {}
    std::string result();

    Fd file_;
    std::unique_ptr<Sha256> sha256_;
};
