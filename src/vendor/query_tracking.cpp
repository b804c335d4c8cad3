#include "vendor/query_tracking.h"

#include "core/result.h"

// No vendor query is sent yet, so that none is pending.
int initVendQueries() {
    return kOk;
}

int checkVendRespMsgReceived() {
    return kOk;
}
