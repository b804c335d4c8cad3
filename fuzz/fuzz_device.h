// The device that the fuzz targets feed: the whole daemon on a scripted platform. An input is a
// byte of switches followed by steps:
//   options (1 byte), seconds that pass (1), length (2, big-endian), bytes of that length
// For a target that may have the key of the mesh, a second byte says whether the device has it.
// The device is in the same state at the start of every input.
#pragma once

#include <cstdint>

#include "base/bytes.h"

// Switches of an input.
inline constexpr uint8_t kVerbose = 0x01;    // all log lines are formatted
inline constexpr uint8_t kNoBridges = 0x02;  // no bridging tuple
inline constexpr uint8_t kTopolOff = 0x04;   // the topology capability is disabled
inline constexpr uint8_t kRefusing = 0x08;   // the platform refuses all messages
inline constexpr uint8_t kEnrollee = 0x10;   // the device is an Enrollee, not the Registrar
inline constexpr uint8_t kStandard = 0x20;   // standard mode

// Options of a step. All but kPass are for frames only.
inline constexpr uint8_t kSecondPort = 0x01;
inline constexpr uint8_t kAnswers = 0x02;   // the frame gets the id of the last query of its kind
inline constexpr uint8_t kPass = 0x04;      // a pass of the periodic checks follows
inline constexpr uint8_t kPortDown = 0x08;  // the other port goes down; without it, comes up
inline constexpr uint8_t kAsk = 0x10;       // first send queries that only others would cause
inline constexpr uint8_t kSigned = 0x40;    // the integrity TLV of the frame gets the right MIC

// What a target does at the start of an input, with the bytes of each step, and at the end.
struct FuzzTarget {
    void (*start)();
    void (*step)(Bytes bytes, uint8_t options);
    void (*stop)();
    unsigned mostSteps = 64;
    unsigned mostPasses = 0;  // of the periodic checks, one after each second of the steps
    bool mayHaveKey = false;
};

// Runs an input. Aborts if the device publishes or sends something malformed.
void fuzzDevice(Bytes input, const FuzzTarget& target);

// Takes what the device has sent off the cables. With check, aborts if it is malformed.
void takeSent(bool check);

// Runs a step that is a frame, which arrives at a port.
void receiveFrame(Bytes frame, uint8_t options);
