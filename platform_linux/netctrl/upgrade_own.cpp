// The image that a Registrar installs on itself once the others are done.
#include <cstdio>
#include <fstream>
#include <string>
#include <utility>

#include "api.h"
#include "common/log.h"
#include "netctrl/upgrade_parts.h"
#include "platform/exports.h"

namespace plat {
namespace {

enum class Stage { kNothing, kInstalling, kInstalled, kShown };

struct Own {
    Stage stage = Stage::kNothing;
    std::string tried;  // digest of what could not be installed here
};
Own own;

// Of the image whose installation here was begun last: it is not tried twice.
std::string noteFile() {
    return firmwareFolder() + "/.installed";
}

std::string noted() {
    std::ifstream file(noteFile());
    std::string digest;
    return std::getline(file, digest) ? digest : "";
}

void giveUp(const std::string& digest, const char* why) {
    PLAT_LOG(1, "firmware: this device stays with its own: %s", why);
    own.tried = digest;
}

// Before the hook runs, which may not come back: without the note a device that tells another
// version afterwards would install it again and again.
bool note(const std::string& digest) {
    std::ofstream file(noteFile());
    if (file << digest << std::endl) return true;
    PLAT_LOG(1, "firmware: what is installed can't be noted in FIRMWARE_FOLDER");
    return false;
}

void installed(const std::string& digest, bool good) {
    own.stage = good ? Stage::kInstalled : Stage::kNothing;
    if (good) return;
    (void)std::remove(noteFile().c_str());
    giveUp(digest, "the installation failed");
}

}  // namespace

void installOwn(const std::string& path, const Manifest& manifest) {
    char version[128];
    (void)getFirmwareVersion(version);
    const std::string& digest = manifest.sha256;
    if (own.stage != Stage::kNothing || manifest.version == version || digest == own.tried) return;
    if (noted() == digest)
        return giveUp(digest, "the announced image was installed before, but does not run");
    own.stage = Stage::kInstalling;
    if (installImage({path, manifest, [digest] { return note(digest); },
                      [digest](bool good) { installed(digest, good); }}))
        return;
    own.stage = Stage::kNothing;
    giveUp(digest, "it can't be installed");
}

bool workOnOwn() {
    const Stage stage = own.stage;
    // One pass lies between, so that the mesh sees why the device goes.
    if (stage == Stage::kInstalled) {
        own.stage = Stage::kShown;
    } else if (stage == Stage::kShown) {
        PLAT_LOG(2, "firmware: reboot into the new one");
        (void)rebootSystem();
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

}  // namespace plat
