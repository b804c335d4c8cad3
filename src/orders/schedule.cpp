#include "orders/schedule.h"

#include "base/state.h"

namespace {

Schedule& schedule() {
    return stateOf<Schedule>();
}

}  // namespace

ScheduleSettings& scheduleSettings() {
    return schedule().settings;
}

Seconds& checkTimeStamp(CheckId check) {
    return schedule().stamps.at(check);
}
