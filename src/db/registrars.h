// The Registrars of the mesh. There should be one; with two, each Enrollee keeps to the one that it
// heard first, as long as that is heard.
#pragma once

#include <vector>

#include "db/records.h"

// Zero: there is none.
struct RegistrarPair {
    MacAddr kept;   // this device itself if it is one, else the one that it keeps to
    MacAddr other;  // besides that one

    bool operator==(const RegistrarPair&) const = default;
};

struct Registrars {
    struct Heard {
        MacAddr alMac;
        Seconds time = 0;
    };
    std::vector<Heard> heard;  // other devices, the one that was heard first at the front
    RegistrarPair reported;    // in the log
    bool hasKept = false;      // this device, as an Enrollee, has kept to one
    Seconds lastCheck = 0;
};

// Notes that a device acts as a Registrar. If the list is full, the last entry makes room.
void noteRegistrar(const MacAddr& alMac);

// True if this device is an Enrollee and keeps to another Registrar than this one.
[[nodiscard]] bool isOtherRegistrar(const MacAddr& alMac);

// The Registrars that are there now.
[[nodiscard]] RegistrarPair registrarPair();

// Forgets Registrars that have become Enrollees or were silent for 130 seconds, and logs when a
// second one appears or one of two goes. An Enrollee that has lost the one it kept to searches for
// the networks of the next, or of the same one when that is heard again. Looks at most once a
// second.
void checkRegistrars();
