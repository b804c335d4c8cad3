#include "crypto/crypto.h"

#include <dlfcn.h>

#include <string>

#include "common/log.h"

namespace {

constexpr const char* kModule = "libvmCrypto.so";

// The module beside the file that has this function.
std::string besideThis() {
    Dl_info own{};
    const std::string path =
        dladdr(reinterpret_cast<void*>(crypto), &own) != 0 ? own.dli_fname : "";
    return path.substr(0, path.rfind('/') + 1) + kModule;
}

const Crypto* load() {
    static const Crypto kNone;
    // Never closed: libcrypto does not support that.
    void* module = dlopen(besideThis().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) module = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
    const auto entry =
        module != nullptr ? reinterpret_cast<CryptoEntry>(dlsym(module, kCryptoEntry)) : nullptr;
    if (entry != nullptr) return entry();
    LOG_LINE(
        1,
        "cryptography: %s; without it no message can be verified, no firmware installed and no "
        "Wi-Fi network received: install the module beside libvmNetCtrl.so, and restart",
        dlerror());
    return &kNone;
}

}  // namespace

const Crypto& crypto() {
    static const Crypto* const loaded = load();
    return *loaded;
}
