#include "orders/schedule.h"

#include <array>

namespace {

struct {
    ScheduleSettings settings;
    std::array<Seconds, kCheckNum> stamps{};
} schedule;

}  // namespace

ScheduleSettings& scheduleSettings() {
    return schedule.settings;
}

Seconds& checkTimeStamp(CheckId check) {
    return schedule.stamps.at(check);
}

void clearCheckTimeStamps() {
    schedule.stamps.fill(0);
}
