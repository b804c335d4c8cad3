// That a test notices when something is wrong with a device.
#include "sim/mesh.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

namespace sim {
namespace {

TEST(Mesh, WhatADeviceEndsWithIsReported) {
    EXPECT_NONFATAL_FAILURE(
        {
            Mesh mesh;
            (void)mesh.addDevice("a", {.prepare = [] { atexit([] { _exit(3); }); }});
            mesh.run(1);
        },
        "device a ended with status");
}

}  // namespace
}  // namespace sim
