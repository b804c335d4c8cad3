#include "crypto/crypto.h"

#include <dlfcn.h>

#include "common/log.h"

namespace {

const Crypto* load() {
    static const Crypto kNone;
    // Never closed: libcrypto does not support that.
    void* const module = dlopen("libvmCrypto.so", RTLD_NOW | RTLD_LOCAL);
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
