#include "support.h"

#include <poll.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include "common/hook.h"
#include "platform/exports.h"

uint8_t DEBUGLEVEL = 2;

namespace {

Told* listener = nullptr;

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

// Root of a user namespace of its own; the real root does without.
bool enterOwnNetwork() {
    const std::string uid = std::to_string(::geteuid());
    const std::string gid = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return ::unshare(CLONE_NEWNET) == 0;
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + uid + " 1");
    writeFile("/proc/self/gid_map", "0 " + gid + " 1");
    return true;
}

// Of an event about one interface, or none.
std::string eventText(uint32_t eventId, const void* info) {
    const auto number = [info] { return std::to_string(*static_cast<const uint32_t*>(info)); };
    switch (eventId) {
        case NET_STATUS_INTF_MAC: {
            const auto& e = *static_cast<const IntfMacEvent*>(info);
            return std::string("mac ") + e.name + " " + plat::macText(e.mac) + " " +
                   plat::macText(e.newMac);
        }
        case NET_STATUS_INTF_PWR_STATE: {
            const auto& e = *static_cast<const IntfStateEvent*>(info);
            return std::string("power ") + e.name + " " + std::to_string(e.newState);
        }
        case NET_STATUS_INTF_NBR_ADDED:
        case NET_STATUS_INTF_NBR_REMOVED: {
            const auto& e = *static_cast<const IntfNbrEvent*>(info);
            std::string text = eventId == NET_STATUS_INTF_NBR_ADDED ? "heard " : "lost ";
            text += e.name;
            for (size_t i = 0; i < e.macNum; ++i) text += " " + plat::macText(e.macs + 6 * i);
            return text;
        }
        case NET_STATUS_AL_MAC:
            return "al " + plat::macText(static_cast<const AlMacEvent*>(info)->newMac);
        case NET_STATUS_BRDG_CAP:
            return "bridges";
        case NET_STATUS_WPS_CONFIG:
            return "wps";
        case NET_STATUS_NEW_FIRMWARE:
            return "firmware " + number();
        case NET_STATUS_FW_UPGRADE:
            return "upgrade " + number();
        case NET_STATUS_LED:
            return std::string("led ") + static_cast<const char*>(info);
        default:
            return "event " + std::to_string(eventId);
    }
}

}  // namespace

ScratchFolder::ScratchFolder() {
    char name[] = "/tmp/platform_test.XXXXXX";
    path_ = ::mkdtemp(name);
}

ScratchFolder::~ScratchFolder() {
    std::filesystem::remove_all(path_);
}

void ScratchFolder::write(const std::string& name, const std::string& text, int mode) const {
    writeFile(path(name), text);
    ::chmod(path(name).c_str(), static_cast<mode_t>(mode));
}

std::string ScratchFolder::read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
}

void ScratchFolder::hook(const std::string& name, const std::string& body) const {
    write(name, "#!/bin/sh\n" + body + "\n", 0755);
    ::setenv("VM1905_HOOKS", path_.c_str(), 1);
    // As after a pause: it is waited for as long as any.
    plat::forgetHooks();
}

void ScratchFolder::platformConf(const std::string& text) const {
    write("platform.conf", text);
    ::setenv("VM1905_PLATFORM_CONF", path("platform.conf").c_str(), 1);
    plat::reloadConf();
}

bool becomes(const std::function<bool()>& condition) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) return false;
        ::poll(nullptr, 0, 5);
    }
    return true;
}

void inOwnNetwork(const std::function<void()>& body) {
    std::fflush(stdout);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (!enterOwnNetwork()) {
            ADD_FAILURE() << "the kernel allows no user namespaces, and we are not root";
        } else {
            ::setenv("VM1905_PLATFORM_CONF", "/nonexistent", 0);
            body();
        }
        std::fflush(stdout);
        std::exit(testing::Test::HasFailure() ? 1 : 0);  // not _exit: coverage is written here
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "failed in the child process, see above";
}

void run(const std::string& commandLine) {
    std::istringstream words(commandLine);
    std::vector<std::string> argv{std::istream_iterator<std::string>(words), {}};
    argv[0] = plat::findProgram(argv[0]);
    EXPECT_EQ(plat::runCommand(argv, {.limit = std::chrono::seconds(10)}), 0) << commandLine;
}

std::map<std::string, IntfDesc> describeAll() {
    std::map<std::string, IntfDesc> intfs;
    IntfDescList list{};
    EXPECT_EQ(getIntfDesc(&list), 0);
    for (IntfDesc* desc = list.head; desc != nullptr;) {
        intfs[desc->name] = *desc;
        std::free(desc->mediaInfo);
        std::free(desc->nbrMacs);
        std::free(std::exchange(desc, desc->next));
    }
    EXPECT_EQ(intfs.size(), list.intfNum);
    return intfs;
}

Told::Told() {
    EXPECT_EQ(initNetCtrl(), 0);
    for (const auto& [name, desc] : describeAll()) {
        statuses[name] = desc.operStatus;
        ++intfNum;
    }
    EXPECT_EQ(startNetCtrl(), 0);
    listener = this;
    EXPECT_EQ(setNetStatusEventCallbackFunc(callback), 0);
}

Told::~Told() {
    EXPECT_EQ(destroyNetCtrl(), 0);
    listener = nullptr;
}

std::string Told::next() {
    events.clear();
    EXPECT_EQ(runNetCtrl(), 0);
    return events;
}

std::string Told::after(const std::string& args) {
    ip(args);
    return next();
}

bool Told::statusBecomes(const std::string& ifname, uint32_t status) {
    events.clear();
    return becomes([&] {
        EXPECT_EQ(runNetCtrl(), 0);
        return statuses[ifname] == status;
    });
}

void Told::callback(uint32_t eventId, const void* info, uint32_t* result) {
    if (eventId == NET_STATUS_INTF_ADDED || eventId == NET_STATUS_INTF_REMOVED) {
        const auto& e = *static_cast<const IntfListEvent*>(info);
        const bool added = eventId == NET_STATUS_INTF_ADDED;
        listener->intfNum += added ? e.intfNum : -e.intfNum;
        for (const IntfDesc* d = e.head; d != nullptr; d = d->next) {
            listener->note((added ? "added " : "removed ") + std::string(d->name));
            // Ports are opened right after an addition.
            EXPECT_EQ(getDeviceSendMsgEnable(d->name) == 0, added) << d->name;
            if (added) listener->statuses[d->name] = d->operStatus;
        }
    } else if (eventId == NET_STATUS_INTF_OPER_STATUS) {
        const auto& e = *static_cast<const IntfStateEvent*>(info);
        EXPECT_NE(std::exchange(listener->statuses[e.name], e.newState), e.newState) << "no change";
    } else {
        listener->note(eventText(eventId, info));
    }
    uint8_t num = 0;
    EXPECT_EQ(getIntfmatchNum(&num), 0);
    EXPECT_EQ(num, listener->intfNum);
    *result = 0;
}
