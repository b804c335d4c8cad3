// Remote commands: control requests that arrive as a line of text.
//
// Tokens are separated by single blanks. The first is a decimal option, the second the AL MAC of
// the device that is meant:
//   2 reboot; 3 power control: pairs of interface MAC and hexadecimal media type, then the decimal
//   power state; 7 WPS control: WPSOption; 8 AP steering: option; 9 firmware control: FWOption,
//   FWTopoOption, URL; 10 reset to default
#pragma once

#include <list>
#include <string>

#include "handlers/vend_context.h"

// They outlive the line, which goes with the message that is built anew.
using CommandTokens = std::list<std::string>;

// Makes msg the order that the line spells. kOk, or kFailure for a line that is not understood.
[[nodiscard]] int parseRemoteCommand(const SendCommandReq& command, VendMsg& msg);

// The result of a remote command of our own, for the client that waits for it. kOk.
int handleSendCommandRespMsg(const VendContext& context, const RetCodePayload& answer);

// Rebuilds the message from the tokens of a line. kOk, or kFailure for an unknown option.
[[nodiscard]] int parseCommand(size_t tokenCount, CommandTokens& tokens, VendMsg& msg);

// Answers a remote command with its result code. kOk when that is kOk and the answer was sent, else
// kFailure.
int requestCommandresult(const VendContext& context, int retCode);
