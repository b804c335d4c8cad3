#include "service/service_monitor.h"

#include "core/result.h"

// There is no service channel yet: nothing to prepare, nothing to serve.
int initServiceMonitor() {
    return kOk;
}
int startServiceMonitor() {
    return kOk;
}
int runServiceMonitor() {
    return kOk;
}
int destroyServiceMonitor() {
    return kOk;
}
