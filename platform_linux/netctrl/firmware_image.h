// A firmware image and the manifest that stands next to it: "X.manifest" tells of the image "X".
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/fd.h"

struct evp_md_ctx_st;

inline constexpr std::string_view kManifestSuffix = ".manifest";
inline constexpr size_t kMostManifest = size_t{16} * 1024;

struct Manifest {
    std::string version;  // letters, digits and . _ + -, the first no -
    std::string sha256;   // of the image, 64 lower-case digits
    std::string hosts;    // patterns of the host names that it is for; empty: every one
};

// What a manifest's text says, "KEY = value" lines. None when VERSION or SHA256 is missing or is
// none. Any bytes are safe.
std::optional<Manifest> parseManifest(std::string_view text);

// Whether a device of that host name is meant.
bool isFor(const Manifest& manifest, const std::string& hostname);

// The file's text; empty when it cannot be read or is longer than a manifest may be.
std::string readManifest(const std::string& path);

// Size, inode and time of a file: changes when the file does.
using Stamp = std::array<int64_t, 4>;
// None when there is no such regular file.
std::optional<Stamp> stampOf(const std::string& path);

// The SHA-256 of a file, computed a part at a time.
class Digest {
  public:
    // None when the file cannot be opened or there is no SHA-256.
    static std::optional<Digest> open(const std::string& path);

    // Goes on for about that long, and returns the 64 digits when the end of the file is reached;
    // empty when it cannot be read.
    std::optional<std::string> step(std::chrono::milliseconds most = std::chrono::milliseconds(40));

  private:
    using Context = std::unique_ptr<evp_md_ctx_st, void (*)(evp_md_ctx_st*)>;
    Digest(Fd file, Context context) : file_(std::move(file)), context_(std::move(context)) {}
    std::string result();

    Fd file_;
    Context context_;
};
