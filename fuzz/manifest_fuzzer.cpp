// Feeds manifests of firmware images to parseManifest.
#include <cstdint>
#include <cstdlib>

#include "netctrl/firmware_image.h"
#include "platform/exports.h"

uint8_t DEBUGLEVEL = 0;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto manifest = parseManifest(text.substr(0, kMostManifest));
    if (!manifest) return 0;
    (void)isFor(*manifest, "attic");
    // What is accepted is passed to a hook and shown in the mesh.
    for (const std::string& label : {manifest->model, manifest->version}) {
        if (label.empty() || label[0] == '-' || label.find_first_of(" \"'\n$/") != label.npos)
            abort();
    }
    if (manifest->sha256.size() != 64 || manifest->size == 0 || manifest->size > kMostImage)
        abort();
    const bool isHigher = compareVersions(manifest->version, manifest->model) > 0;
    if (isHigher != (compareVersions(manifest->model, manifest->version) < 0)) abort();
    return 0;
}
