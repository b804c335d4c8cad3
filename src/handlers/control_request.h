// What the handlers of control requests share: the checks of the own role, and the answer.
#pragma once

#include "handlers/vend_context.h"

// The own role in the platform's WPS configuration; both are false if the platform has none.
bool isRegistrar();  // if false, logs "Device is not Registrar"
bool isEnrollee();   // if false, logs "Device is not Enrollee"

// Answers a control request: a remote command with retCode, any other with a response of the type
// respType that carries retCode or the payload. kOk if the answer was sent (and, for a remote
// command, retCode is kOk), else kFailure.
int answerRequest(const VendContext& context, VendMsgType respType, int retCode);
int answerRequest(const VendContext& context, VendMsgType respType, VendPayload&& payload,
                  int retCode);
