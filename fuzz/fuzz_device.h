// The whole device that the fuzz targets feed: database, ageing, vendor messages, controller, JSON
// files, on a scripted platform. An input is a byte of switches followed by steps:
//   options (1), seconds that pass (1), length (2, big-endian), that many bytes
// Every input meets the device in the same state.
#pragma once

#include <cstdint>

#include "base/bytes.h"

// Switches of an input.
inline constexpr uint8_t kVerbose = 0x01;    // all log lines are formatted
inline constexpr uint8_t kNoBridges = 0x02;  // no bridging tuple
inline constexpr uint8_t kTopolOff = 0x04;   // the topology capability is disabled
inline constexpr uint8_t kRefusing = 0x08;   // the platform refuses every message it is handed
inline constexpr uint8_t kEnrollee = 0x10;   // the device is an Enrollee, else the Registrar

// Options of a step; all but kPass are those of a frame.
inline constexpr uint8_t kSecondPort = 0x01;
inline constexpr uint8_t kAnswers = 0x02;   // the frame gets the id of the last query of its kind
inline constexpr uint8_t kPass = 0x04;      // a pass of the periodic checks follows
inline constexpr uint8_t kPortDown = 0x08;  // the other port goes down, else it comes up
inline constexpr uint8_t kAsk = 0x10;       // queries that only the platform or a client causes

// What a target does with an input: at its start, with the bytes of each step, and at its end.
struct FuzzTarget {
    void (*start)();
    void (*step)(Bytes bytes, uint8_t options);
    void (*stop)();
};

// Runs an input; ends the process where the device publishes or sends what it should not.
void fuzzDevice(Bytes input, const FuzzTarget& target);

// Takes what the device has sent off the cables; check: it must be well-formed.
void takeSent(bool check);

// A step that is a frame: it arrives at a port.
void receiveFrame(Bytes frame, uint8_t options);
