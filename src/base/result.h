// Result codes shared by the whole daemon. The numbers are part of the client interface and of
// the wire format, so they never change. Functions return them as int.
#pragma once

enum Result : int {
    kOk = 0,
    kNoLocalIntf = 1,       // local interface not found
    kPwrUnsupported = 2,    // power state unsupported
    kNotAddressed = 7,      // addressed device is not this one, or neighbor not found
    kFailure = 16,          // general failure
    kNoTable = 17,          // the table does not exist
    kInvalidState = 18,     // operation not allowed in the present state
    kIntfError = 19,        // socket or interface error
    kUnknownItem = 32,      // service answer: no such configuration item
    kZeroLogMax = 34,       // service answer: a change log needs room for at least one entry
    kUnchanged = 34,        // a setter was given the value it already holds
    kUnknownService = 48,   // no such service id
    kTypeNotAllowed = 64,   // service answer: clients may not send this message type
    kDuplicate = 65,        // message already generated or received
    kIndexOutOfRange = 80,  // service answer: index out of range
    kTableEmpty = 81,       // service answer: the table is empty
    kIntfNotFound = 82,     // service answer: no interface with this MAC and media type
    kKnownNbrDev = 83,      // neighbor device already known
    kNewNbrDev = 84,        // neighbor device new or back again
    kNothingChanged = 85,   // nothing changed, or the target was not found
    kChanged = 86,          // changed; the data-model rewrite was requested
    kDevNotFound = 87,      // service answer: no device with this AL MAC
    kTopolDisabled = 97,    // the topology capability is disabled
    kTopolIncomplete = 98,  // the topology is not available yet
};

// The byte that carries a result of the daemon or the platform in a message: its low 8 bits.
constexpr unsigned char resultByte(int result) {
    return static_cast<unsigned char>(result);
}
