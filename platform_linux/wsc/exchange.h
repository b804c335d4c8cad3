// One exchange of Wi-Fi Simple Configuration: an Enrollee sends its M1, and the Registrar answers
// with one M2 for each network of the band. Only bytes: no sockets, no clock.
//
// An extension of our own in both messages has the number of the band, which distinguishes main and
// guest networks, and in the M2 how many there are. Without it, the band is the main one of its
// frequencies, and one M2 is all.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/mac_addr.h"
#include "wsc/attributes.h"
#include "wsc/crypto.h"
#include "wsc/network.h"

// With the other TLVs of its message, such a frame still fits into one Ethernet frame.
inline constexpr size_t kMaxWscFrame = 1397;
using WscFrame = WscField<kMaxWscFrame>;

// A text that says why a message is refused; empty if it is not.
using WscRefusal = std::string;

// The device that sends a message.
struct WscDevice {
    MacAddr alMac;
    std::string_view name;
};

enum class WscMessage : uint8_t { kNone = 0, kM1 = 4, kM2 = 5 };
// Which message the frame is; kNone if it is another one or malformed.
WscMessage wscMessageOf(Bytes frame);
// The Enrollee's nonce in the frame; all zero if it is malformed.
WscNonce enrolleeNonceOf(Bytes frame);

// The Enrollee's side.
struct WscEnrollee {
    const WifiBand* band = nullptr;
    MacAddr alMac;
    std::unique_ptr<DhKey> key;
    WscNonce nonce{};
    WscFrame m1;
    // The Registrar's nonces so far.
    std::array<WscNonce, size_t{4} * kMaxBandNetworks> heard{};
    size_t heardNum = 0;
};

// Makes a key, a nonce and the M1. False if that fails; the session is then unusable.
[[nodiscard]] bool startWsc(WscEnrollee& session, const WifiBand& band, const WscDevice& own);

// Which of the networks of a band an M2 has: index of count. A count of 0 means that the band has
// no network.
struct WscPlace {
    uint8_t index = 0;
    uint8_t count = 1;
};

struct WscAnswer {
    WscPlace place;
    WifiNetwork network;
};

// Reads an M2 that answers the session's M1. A nonce of the Registrar is accepted once.
WscRefusal readM2(WscEnrollee& session, Bytes frame, WscAnswer& answer);
// Reads the settings that an M2 has in encrypted form.
WscRefusal readSettings(Bytes settings, WifiNetwork& network);

// The Registrar's side: an M1 and what answers it.
struct WscRegistrar {
    const WifiBand* band = nullptr;
    WscFrame m1;
    MacAddr mac;
    WscNonce nonce{};
    DhPublic peer{};
    uint16_t auth = 0;      // the types that the Enrollee offers
    bool countsM2 = false;  // it understands our extension
    DhPublic own{};
    DhSecret secret;
};

// Reads an M1.
WscRefusal readM1(WscRegistrar& session, Bytes frame);
// Makes the Registrar's key for this M1, which all its M2 share. Refuses keys outside the group.
WscRefusal prepareM2(WscRegistrar& session);
// Builds one M2. Of the network's authentication types those are left that the Enrollee offers.
WscRefusal buildM2(const WscRegistrar& session, const WscDevice& own, WscPlace place,
                   const WifiNetwork& network, WscFrame& m2);
