// That a test notices when something is wrong with a device.
#include "sim/mesh.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace sim {
namespace {

// The message of what is thrown.
template <typename Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "nothing failed";
}

std::string die(const std::string& words) {
    printf("%s\n", words.c_str());
    fflush(stdout);
    abort();
}

std::string refuse(const std::string& reason) {
    throw std::runtime_error(reason);
}

TEST(Mesh, FailuresOfADeviceAreReported) {
    const auto reports = [](const std::string& failure, const char* what, const char* why) {
        return failure.find(what) != failure.npos && failure.find(why) != failure.npos;
    };
    Mesh mesh;
    const Device a = mesh.addDevice("a");
    const Device b = mesh.addDevice("b");
    mesh.run(1);
    const std::string refusal = failureOf([&] { (void)mesh.command(a, refuse, "not now"); });
    EXPECT_TRUE(reports(refusal, "device a", "not now")) << refusal;
    const std::string death = failureOf([&] { (void)mesh.command(b, die, "last words"); });
    EXPECT_TRUE(reports(death, "device b has died", "last words")) << death;
}

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
