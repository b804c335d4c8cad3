// All groups of platform functions. The libraries are built with hidden symbols; what these headers
// declare is what they export.
#pragma once

#pragma GCC visibility push(default)
#include "platform/autoconfig.h"
#include "platform/descriptions.h"
#include "platform/device.h"
#include "platform/lifecycle.h"
#include "platform/state.h"
#pragma GCC visibility pop

// What libvm_common_util offers to libvmNetCtrl beyond the platform functions.
#define PLAT_API __attribute__((visibility("default")))

// Result codes of platform functions.
namespace plat {
enum : int { kOk = 0, kNoIntf = 1, kPwrUnsupported = 2, kFailure = 16 };
}
