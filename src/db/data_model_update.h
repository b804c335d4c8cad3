// The request for a rewrite of the data-model files.
#pragma once

#include "base/clock.h"

struct DataModelUpdateReq {
    bool pending = false;
    Seconds firstRequestTime = 0;
};

// Asks for a rewrite; a burst of requests gives one rewrite, 2 seconds after its first. flag 1 also
// asks for a topology notification. kOk.
int requestUpdateDataModel(int flag);

// Performs the rewrite when it is due. Called on every pass of the main loop. kOk.
int checkDataModelStatus();
