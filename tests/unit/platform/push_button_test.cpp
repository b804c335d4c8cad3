// The push button, with a process of the test's own in place of hostapd.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "base/fd.h"
#include "common/hook.h"
#include "support.h"

namespace {

std::vector<PbJoinReq> joins;

void record(uint32_t servId, void* info, uint32_t* retCode) {
    if (servId == SERV_REQ_PB_EVENT) static_cast<PbEventReq*>(info)->msgId = 7;
    if (servId == SERV_REQ_PB_JOIN) joins.push_back(*static_cast<PbJoinReq*>(info));
    *retCode = 0;
}

// A control socket.
class ControlSocket {
  public:
    ControlSocket(const std::string& path, std::string answer) : answer_(std::move(answer)) {
        sockaddr_un own{AF_UNIX, {}};
        copyText(own.sun_path, path);
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<sockaddr*>(&own), sizeof own), 0);
    }
    // All commands so far, each of which it has answered.
    const std::string& heard() {
        char command[64];
        socklen_t size = sizeof peer_;
        ssize_t got = 0;
        while ((got = recvfrom(socket_.get(), command, sizeof command, MSG_DONTWAIT,
                               reinterpret_cast<sockaddr*>(&peer_), &size)) > 0) {
            heard_.append(command, static_cast<size_t>(got)).append(";");
            say(heard_.ends_with("WPS_PBC;") ? answer_ : "OK\n");
        }
        return heard_;
    }
    void say(const std::string& text) const {
        EXPECT_GT(sendto(socket_.get(), text.data(), text.size(), 0,
                         reinterpret_cast<const sockaddr*>(&peer_), sizeof peer_),
                  0);
    }

  private:
    const std::string answer_;
    Fd socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    sockaddr_un peer_{};
    std::string heard_;
};

}  // namespace

NETWORK_TEST(PushButton, StartsThatOfEachAccessPointAndTellsWhoJoined) {
    const ScratchFolder folder;
    mkdir(folder.path("run").c_str(), 0755);
    folder.platformConf("HOSTAPD_FOLDER = " + folder.path() + "\n");
    ip("link add v0 address 02:00:00:00:00:10 type veth peer name v1");
    Listener daemon;
    EXPECT_EQ(setServReqCallbackFunc(record), 0);
    ControlSocket first(folder.path("v0"), "OK\n"), second(folder.path("v1"), "FAIL\n");
    const std::string press = "ATTACH;WPS_PBC;";
    EXPECT_EQ(sendPBEvent(), 0);
    const auto haveHeard = [&](const std::string& commands) {
        const bool hasSecond = second.heard() == commands;
        return first.heard() == commands && hasSecond;
    };
    EXPECT_TRUE(becomes([&] { return haveHeard(press); }));
    // Another event takes its place.
    const PbEvent event{{2, 0, 0, 0, 0, 9}, 1234, 0, nullptr};
    EXPECT_EQ(notifyPBEventMsgReceived(&event), 0);
    EXPECT_TRUE(becomes([&] { return (collectJobs(), haveHeard(press + press)); }));
    first.say("<3>AP-STA-CONNECTED 02:00:00:00:00:33");
    first.say("<3>WPS-REG-SUCCESS 02:00:00:00:00:33 12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_TRUE(becomes([] { return (collectJobs(), !joins.empty()); }));
    const PbJoinReq join = joins.at(0);
    EXPECT_EQ(join.msgId, 1234);
    EXPECT_EQ(
        macsText(join.alMac, 1) + macsText(join.txIntfMac, 1) + macsText(join.newDevIntfMac, 1),
        " 02:00:00:00:00:09 02:00:00:00:00:10 02:00:00:00:00:33");
    folder.hook("push-button", "exit 5");
    EXPECT_EQ(notifyPBEventMsgReceived(&event), 5) << "the hook does it";
}
