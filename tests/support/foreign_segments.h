// The request slot, made and used by another user, in a new IPC namespace. Needs root.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "orders/slot_layout.h"

struct ForeignSegments {
    static constexpr uid_t kStranger = 12345;

    ForeignSegments() {
        EXPECT_EQ(unshare(CLONE_NEWIPC) + seteuid(kStranger), 0);
        shmat(shmget(slots::kReqKey, slots::kReqSize, IPC_CREAT | 0666), nullptr, 0);
        EXPECT_EQ(seteuid(0), 0);
        EXPECT_NE(mkdtemp(folder.data()), nullptr);
        giveOwnFolder(0);
    }
    ~ForeignSegments() { std::filesystem::remove_all(folder); }

    // Makes the daemon's own folder for this user, in a folder of this mode.
    void giveOwnFolder(uid_t user, mode_t parent = 0755) const {
        const std::string run = folder + "/run";
        setenv("VM1905_RUN", run.c_str(), 1);
        (void)mkdir(run.c_str(), 0755);
        EXPECT_EQ(chmod(folder.c_str(), parent) + chown(run.c_str(), user, 0), 0);
    }

    std::string folder = "/tmp/channel-XXXXXX";
};
