#include "netctrl/firmware_own.h"

#include <cstdio>
#include <string>
#include <utility>

#include "api.h"
#include "common/files.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_install.h"
#include "netctrl/firmware_offer.h"
#include "netctrl/firmware_state.h"
#include "netctrl/firmware_trust.h"
#include "platform/exports.h"

namespace {

enum class Stage { kNothing, kInstalling, kInstalled, kShown };

struct {
    Stage stage = Stage::kNothing;
    std::string tried;  // digest of the image that could not be installed
} own;

// Holds the digest of the last image that this device began to install, which is not tried twice.
std::string noteFile() {
    return firmwareFolder() + "/.installed";
}

std::string noted() {
    return std::string(lineOf(readFile(noteFile(), 128), 0));
}

void giveUp(const std::string& digest, const char* why) {
    LOG_LINE(1, "firmware: this device keeps its version: %s", why);
    own.tried = digest;
}

// Written before the hook runs, because it may not return. Without the note, a device that reports
// another version afterwards would install the image again and again.
bool note(const std::string& digest) {
    if (writeOwnFile(noteFile(), digest + "\n")) return true;
    LOG_LINE(1, "firmware: can't write .installed in FIRMWARE_FOLDER");
    return false;
}

void installed(const std::string& digest, bool good) {
    own.stage = good ? Stage::kInstalled : Stage::kNothing;
    if (good) return;
    // A confined daemon can write the file, but not remove it.
    if (remove(noteFile().c_str()) != 0) (void)writeOwnFile(noteFile(), "");
    giveUp(digest, "the installation failed");
}

}  // namespace

void installOwn(const std::string& path, const Manifest& manifest) {
    const std::string& digest = manifest.sha256;
    if (own.stage != Stage::kNothing || isRunning(manifest) || digest == own.tried) return;
    if (const Refusal why = checkFits(manifest); !why.empty()) return giveUp(digest, why.c_str());
    if (noted() == digest) {
        return giveUp(digest, "the announced image was installed before, but does not run");
    }
    own.stage = Stage::kInstalling;
    if (installImage({path, manifest, [digest] { return note(digest); },
                      [digest](bool good) { installed(digest, good); }})) {
        return;
    }
    own.stage = Stage::kNothing;
    giveUp(digest, "it can't be installed");
}

bool workOnOwn() {
    const Stage stage = own.stage;
    // Waits one pass, so that the mesh sees the state Reboot.
    if (stage == Stage::kInstalled) {
        own.stage = Stage::kShown;
    } else if (stage == Stage::kShown) {
        LOG_LINE(2, "firmware: reboot into the new one");
        rebootSystem();
        own.stage = Stage::kNothing;
        setFirmwareState(PLATFORM_FW_FAILED);
    }
    return stage != Stage::kNothing;
}

void retryOwn() {
    own.tried.clear();
}

void dropOwn() {
    own = {};
}
