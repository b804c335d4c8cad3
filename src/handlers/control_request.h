// What the handlers of control requests have in common: is the request for this device, and how is
// it answered.
#pragma once

#include <memory>

#include "handlers/vend_context.h"

// Roles, as the platform's WPS configuration tells them. Without one a device has none.
bool isRegistrar();  // else logs "Device is not Registrar"
bool isEnrollee();   // else logs "Device is not Enrollee"

// Answers a control request: a remote command with its result code, any other with the response
// of its type. kOk when the answer is on its way (and, of a remote command, told success), else
// kFailure.
int answerRequest(const VendContext& context, VendMsgType respType, int retCode);
int answerRequest(const VendContext& context, VendMsgType respType, VendPayload&& payload,
                  int retCode);
