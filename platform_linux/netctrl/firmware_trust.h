// Which firmware this device accepts: signed by a key of FIRMWARE_KEYS, made for its model, and
// newer than what it runs.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "netctrl/firmware_image.h"

// "X.manifest.sig" is the Ed25519 signature of the bytes of "X.manifest".
inline constexpr std::string_view kSignatureSuffix = ".sig";
inline constexpr size_t kSignatureSize = 64;

// Whether images must be signed: always, unless platform.conf has FIRMWARE_UNSIGNED = yes and no
// FIRMWARE_KEYS.
bool needsSignature();

// The text says why a file or device is refused and what to do; empty if all is well.
using Refusal = std::string;

// Whether this device can accept any image: it has a key, or needs none.
Refusal checkTrust();

// When a key was last added or removed.
std::filesystem::file_time_type keysChanged();

// The signature beside an image; empty if it is missing.
std::string readSignature(const std::string& imagePath);

// Reads the manifest of an image, and its signature if one is needed. None, with the reason, if
// they are missing or wrong.
std::optional<Manifest> readTrusted(const std::string& imagePath, Refusal& refusal);

// The same for the text of a manifest and its signature.
std::optional<Manifest> checkManifest(const std::string& text, const std::string& signature,
                                      Refusal& refusal);

// Whether the image is for this device: its model, its host name, and a higher version than the
// running one, unless FIRMWARE_DOWNGRADE = yes.
Refusal checkFits(const Manifest& manifest);

// Whether this device runs that very version.
bool isRunning(const Manifest& manifest);

// At the start: a log line if unsigned images are accepted.
void warnOfUnsigned();
