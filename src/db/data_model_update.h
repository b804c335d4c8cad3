// Requests to rewrite the data-model files.
#pragma once

#include "base/clock.h"

struct DataModelUpdateReq {
    bool pending = false;
    Seconds firstRequestTime = 0;
};

// Requests a rewrite. A burst of requests causes one rewrite, 2 seconds after the first of them.
// flag 1 also requests a topology notification. kOk.
int requestUpdateDataModel(int flag);

// Performs a requested rewrite that is due. Called on every pass of the main loop. kOk.
int checkDataModelStatus();
