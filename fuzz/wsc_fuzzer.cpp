// Feeds messages of Wi-Fi Simple Configuration. The first byte of an input selects what the others
// are: an M1, an M2, or the settings that an M2 has in encrypted form.
#include "platform/exports.h"
#include "process.h"
#include "wsc/exchange.h"
#include "wsc/wifi_conf.h"

uint8_t DEBUGLEVEL = 0;

namespace {

const WscDevice kRegistrar{{2, 0, 0, 0, 0, 1}, "root"};
const WscDevice kEnrollee{{2, 0, 0, 0, 0, 7}, "attic"};

// An exchange of which the M1 has arrived.
struct Exchange {
    Exchange() {
        require(startWsc(enrollee, kWifiBandTable[0], kEnrollee));
        require(readM1(registrar, enrollee.m1.view()).empty() && prepareM2(registrar).empty());
    }
    WscEnrollee enrollee;
    WscRegistrar registrar;
};

Exchange& exchange() {
    static Exchange made;
    return made;
}

void checkNetwork(const WifiNetwork& network) {
    const bool isOpen = network.auth == kAuthOpen;
    require((isOpen || (network.auth != 0 && (network.auth & kAuthOpen) == 0)) &&
            !network.ssid.empty() && network.key.empty() == isOpen);
}

void takeM1(Bytes frame) {
    WscRegistrar session;
    if (!readM1(session, frame).empty()) return;
    require(wifiBandOf(session.band->number) == session.band);
    // Without the key of this M1, which would take most of the time.
    session.secret = exchange().registrar.secret;
    WscFrame m2;
    const bool built = buildM2(session, kRegistrar, {}, {}, m2).empty();
    require(built && wscMessageOf(m2.view()) == WscMessage::kM2);
    require(enrolleeNonceOf(m2.view()) == session.nonce);
}

void takeM2(Bytes frame) {
    WscAnswer answer;
    // Nobody can guess the nonce and the authenticator.
    require(!readM2(exchange().enrollee, frame, answer).empty());
    WscEnrollee addressed;
    addressed.nonce = enrolleeNonceOf(frame);
    addressed.band = kWifiBandTable;
    require(!readM2(addressed, frame, answer).empty());
}

// What is accepted is written to a file.
void takeSettings(Bytes settings) {
    WifiNetwork network;
    if (!readSettings(settings, network).empty()) return;
    checkNetwork(network);
    const WifiConf conf{{"a", {kWifiBandTable[0].number}, network}};
    const auto complain = [](int, const std::string&) { require(false); };
    require(parseWifiConf(writeWifiConf(conf), complain) == conf);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader({data, size});
    const uint8_t kind = reader.u8();
    const Bytes input = reader.take(reader.left());
    (void)wscMessageOf(input);
    if (kind % 3 == 0) takeM1(input);
    if (kind % 3 == 1) takeM2(input);
    if (kind % 3 == 2) takeSettings(input);
    return 0;
}
