#include "publish/json_change_log.h"

#include <array>
#include <ctime>

#include "base/clock.h"
#include "base/result.h"
#include "db/database.h"
#include "db/options.h"
#include "publish/data_model_files.h"
#include "publish/json_writer.h"
#include "publish/labels.h"

namespace {

constexpr std::string_view kName = "vm1905_log.json";
constexpr size_t kEntrySize = 300;

void writeEntry(JsonWriter& out, const ChangeLogEntry& entry, size_t number) {
    char stamp[32];
    const time_t seconds = toWallClock(entry.timeStamp);
    tm local{};
    localtime_r(&seconds, &local);
    if (strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &local) == 0) stamp[0] = '\0';

    out.beginObject("ChangeLog.", number);
    out.text("TimeStamp", stamp);
    out.text("EventType", changeEventLabel(entry.eventType));
    out.mac("ReporterDeviceId", entry.reporterAlMac);
    out.mac("ReporterInterfaceId", entry.reporterIntfMac);
    out.text("NeighborType", changeNbrTypeLabel(entry.nbrType));
    out.mac("NeighborId", entry.nbrMac);
    out.end();
}

void renderFile(const WritePieces& write) {
    const std::string text = renderJsonvm1905log(getNetTopolTable());
    write(std::array{std::string_view(text)}, {});
}

}  // namespace

std::string renderJsonvm1905log(const TopolTable* topol) {
    JsonWriter out(topol != nullptr ? kEntrySize * (1 + topol->changeLogNum) : 8);
    out.begin();
    if (topol != nullptr) {
        out.number("MaxChangeLogEntries", topol->maxChangeLogEntries);
        out.text("LastChange", "ChangeLog." + std::to_string(topol->changeLogNext));
        out.number("IEEE1905DeviceNumberOfEntries", topol->ieee1905DevNum());
        out.number("ChangeLogNumberOfEntries", topol->changeLogNum);
        const size_t num = std::min<size_t>(topol->changeLogNum, topol->changeLog.size());
        for (size_t i = 0; i < num; i++) writeEntry(out, topol->changeLog[i], i + 1);
    }
    out.end();
    return out.append("\n").take();
}

int writeJsonvm1905log() {
    writeDataModelFile(kName, renderFile);
    return kOk;
}

void writeWebChangeLog() {
    if (*getWebFolderOption() != '\0') writeDataModelFile(kName, renderFile, true);
}
