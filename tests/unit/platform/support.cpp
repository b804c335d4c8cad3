#include "support.h"

#include <poll.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include "common/hook.h"
#include "platform/exports.h"

uint8_t DEBUGLEVEL = 2;

namespace {

Listener* listener = nullptr;

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

// Becomes root in a new user namespace; the real root needs none.
bool enterOwnNetwork() {
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) return unshare(CLONE_NEWNET) == 0;
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + uid + " 1");
    writeFile("/proc/self/gid_map", "0 " + gid + " 1");
    return true;
}

template <typename Record>
const Record& as(const void* info) {
    return *static_cast<const Record*>(info);
}

}  // namespace

ScratchFolder::ScratchFolder(const std::string& conf) {
    char name[] = "/tmp/platform_test.XXXXXX";
    path_ = mkdtemp(name);
    setenv("VM1905_RUN", path("run").c_str(), 1);
    platformConf(conf);
}

void ScratchFolder::write(const std::string& name, const std::string& text, int mode) const {
    writeFile(path(name), text);
    chmod(path(name).c_str(), static_cast<mode_t>(mode));
}

std::string ScratchFolder::read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
}

void ScratchFolder::hook(const std::string& name, const std::string& body) const {
    write(name, "#!/bin/sh\n" + body + "\n", 0755);
    setenv("VM1905_HOOKS", path_.c_str(), 1);
    forgetHooks();
}

void ScratchFolder::platformConf(const std::string& text) const {
    write("platform.conf", text);
    setenv("VM1905_PLATFORM_CONF", path("platform.conf").c_str(), 1);
    reloadConf();
}

std::map<std::string, std::string>& stored() {
    static std::map<std::string, std::string> texts;
    return texts;
}

std::string macsText(const uint8_t* packed, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; i++) text += " " + macText(packed + 6 * i);
    return text;
}

bool becomes(const std::function<bool()>& condition) {
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until) return false;
        poll(nullptr, 0, 5);
    }
    return true;
}

void inOwnNetwork(void (*body)()) {
    fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        EXPECT_TRUE(enterOwnNetwork())
            << "the kernel allows no user namespaces, and we are not root";
        setenv("VM1905_PLATFORM_CONF", "/nonexistent", 0);
        if (!testing::Test::HasFailure()) body();
        fflush(stdout);
        exit(testing::Test::HasFailure() ? 1 : 0);  // not _exit: coverage is written here
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "failed in the child process, see above";
}

std::string run(const std::string& command) {
    FILE* const pipe = popen(("PATH=$PATH:/usr/sbin:/sbin; " + command).c_str(), "re");
    std::string printed;
    for (int c = 0; (c = fgetc(pipe)) != EOF;) printed.push_back(static_cast<char>(c));
    EXPECT_EQ(pclose(pipe), 0) << command;
    return printed;
}

void ip(const std::string& commands) {
    std::istringstream all(commands);
    for (std::string command; std::getline(all, command, ';');) run("ip " + command);
}

std::map<std::string, IntfDesc> describeAll() {
    std::map<std::string, IntfDesc> intfs;
    IntfDescList list{};
    EXPECT_EQ(getIntfDesc(&list), 0);
    takeList(list.head, [&intfs](const IntfDesc& desc) {
        intfs[desc.name] = desc;
        free(desc.mediaInfo);
        free(desc.nbrMacs);
    });
    EXPECT_EQ(intfs.size(), list.intfNum);
    return intfs;
}

Listener::Listener() {
    EXPECT_EQ(initNetCtrl(), 0);
    for (const auto& [name, desc] : describeAll()) statuses[name] = desc.operStatus;
    intfNum = static_cast<int>(statuses.size());
    EXPECT_EQ(startNetCtrl(), 0);
    listener = this;
    EXPECT_EQ(setNetStatusEventCallbackFunc(callback), 0);
}

Listener::~Listener() {
    EXPECT_EQ(destroyNetCtrl(), 0);
    listener = nullptr;
}

std::string Listener::next() {
    events.clear();
    EXPECT_EQ(runNetCtrl(), 0);
    return events;
}

std::string Listener::after(const std::string& commands) {
    ip(commands);
    return next();
}

bool Listener::statusBecomes(const std::string& ifname, uint32_t status) {
    events.clear();
    return becomes([&] {
        EXPECT_EQ(runNetCtrl(), 0);
        return statuses[ifname] == status;
    });
}

void Listener::callback(uint32_t eventId, const void* info, uint32_t* result) {
    listener->record(eventId, info);
    uint8_t num = 0;
    EXPECT_EQ(getIntfmatchNum(&num), 0);
    EXPECT_EQ(num, listener->intfNum);
    *result = 0;
}

void Listener::record(uint32_t eventId, const void* info) {
    const auto number = [info] { return std::to_string(as<uint32_t>(info)); };
    if (eventId == NET_STATUS_INTF_ADDED || eventId == NET_STATUS_INTF_REMOVED) {
        const auto& e = as<IntfListEvent>(info);
        const bool added = eventId == NET_STATUS_INTF_ADDED;
        intfNum += added ? e.intfNum : -e.intfNum;
        for (const IntfDesc* desc = e.head; desc != nullptr; desc = desc->next) {
            note((added ? "added " : "removed ") + std::string(desc->name));
            // The daemon opens ports right after an addition.
            EXPECT_EQ(getDeviceSendMsgEnable(desc->name) == 0, added) << desc->name;
            if (added) statuses[desc->name] = desc->operStatus;
        }
    } else if (eventId == NET_STATUS_INTF_OPER_STATUS) {
        const auto& e = as<IntfStateEvent>(info);
        EXPECT_NE(std::exchange(statuses[e.name], e.newState), e.newState) << "no change";
    } else if (eventId == NET_STATUS_INTF_PWR_STATE) {
        const auto& e = as<IntfStateEvent>(info);
        note(std::string("power ") + e.name + " " + std::to_string(e.newState));
    } else if (eventId == NET_STATUS_INTF_MAC) {
        const auto& e = as<IntfMacEvent>(info);
        note(std::string("mac ") + e.name + macsText(e.mac, 1) + macsText(e.newMac, 1));
    } else if (eventId == NET_STATUS_INTF_NBR_ADDED || eventId == NET_STATUS_INTF_NBR_REMOVED) {
        const auto& e = as<IntfNbrEvent>(info);
        const std::string verb = eventId == NET_STATUS_INTF_NBR_ADDED ? "heard " : "lost ";
        note(verb + e.name + macsText(e.macs, e.macNum));
    }
    if (eventId == NET_STATUS_AL_MAC) note("al " + macText(as<AlMacEvent>(info).newMac));
    if (eventId == NET_STATUS_INTF_MEDIA_TYPE) note("media");
    if (eventId == NET_STATUS_BRDG_CAP) note("bridges");
    if (eventId == NET_STATUS_WPS_CONFIG) note("wps");
    if (eventId == NET_STATUS_NEW_FIRMWARE) note("firmware " + number());
    if (eventId == NET_STATUS_FW_UPGRADE) note("upgrade " + number());
    if (eventId == NET_STATUS_LED) note(std::string("led ") + static_cast<const char*>(info));
}
