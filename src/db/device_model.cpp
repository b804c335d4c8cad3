#include "db/device_model.h"

#include "base/text.h"

namespace {

Text<32> DeviceModelType;

}  // namespace

void setDeviceModelType(std::string_view name) {
    DeviceModelType = name;
}

int getDeviceModelType() {
    return DeviceModelType.empty() || DeviceModelType == "0" ? 0 : 1;
}
