#include "net/counter_store.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <string>

#include "base/result.h"
#include "db/state_folder.h"

namespace {

constexpr const char* kCounters = "mesh_counters";
constexpr const char* kUsedKeys = "mesh_key_used";

std::string usedLine(uint64_t keyTag) {
    char line[20];
    (void)snprintf(line, sizeof line, "%016" PRIx64 "\n", keyTag);
    return line;
}

// A line is a key, a sender and a counter.
bool readLine(const char* line, KeyedSender& sender, uint64_t& counter) {
    auto& b = sender.alMac.b;
    return sscanf(line, "%16" SCNx64 " %2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx %" SCNu64,
                  &sender.keyTag, &b[0], &b[1], &b[2], &b[3], &b[4], &b[5], &counter) == 8;
}

std::string writeLine(const KeyedSender& sender, uint64_t counter) {
    char line[64];
    (void)snprintf(line, sizeof line, "%016" PRIx64 " " MAC_FMT " %" PRIu64 "\n", sender.keyTag,
                   MAC_ARGS(sender.alMac), counter);
    return line;
}

}  // namespace

StoredCounters loadCounters() {
    const Fd folder = openStateFolder();
    const auto text = folder ? readText(folder, kCounters) : std::nullopt;
    StoredCounters counters;
    for (size_t at = 0; text && at < text->size(); at = text->find('\n', at) + 1) {
        KeyedSender sender;
        uint64_t counter = 0;
        if (text->back() != '\n' || !readLine(text->c_str() + at, sender, counter)) return {};
        counters[sender] = counter;
    }
    return counters;
}

int saveCounters(const StoredCounters& counters) {
    const Fd folder = openStateFolder();
    if (!folder) return kFailure;
    std::string text;
    for (const auto& [sender, counter] : counters) text += writeLine(sender, counter);
    return replaceText(folder, kCounters, text);
}

std::optional<bool> keyWasUsed(uint64_t keyTag) {
    const Fd conf = openConfFolder();
    const auto text = conf ? readText(conf, kUsedKeys) : std::nullopt;
    if (text) return text->find(usedLine(keyTag)) != text->npos;
    return conf && errno == ENOENT ? std::optional(false) : std::nullopt;
}

int noteKeyUse(uint64_t keyTag) {
    const Fd conf = openConfFolder();
    if (!conf) return kFailure;
    return replaceText(conf, kUsedKeys, readText(conf, kUsedKeys).value_or("") + usedLine(keyTag));
}
