#include "wire/sync_text.h"

#include <cstring>

#include "base/log.h"
#include "base/result.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

int fetchSyncText(int (*get)(char* data), std::string& text) {
    char data[PLATFORM_SYNC_DATA_LEN] = {};
    const int result = get(data);
    if (result != 0) return result;
    const size_t length = strnlen(data, sizeof data);
    if (length > kMaxSyncText) {
        LOG(2, "a text of the platform is too long to send (%zu > %zu)\n", length, kMaxSyncText);
        return kFailure;
    }
    text.assign(data, length);
    return kOk;
}
