// Remote commands: control requests that arrive as a line of text.
//
// Single blanks separate the tokens. The first token is a decimal option, the second the AL MAC of
// the addressed device, the others are arguments:
//   2   reboot
//   3   power control: pairs of interface MAC and hexadecimal media type, then the decimal state
//   7   WPS control: WPSOption
//   8   AP steering: option
//   9   firmware control: FWOption, FWTopoOption, URL
//   10  reset to default
#pragma once

#include <list>
#include <string>

#include "handlers/vend_context.h"

// Copies: the line itself is part of the message that is replaced.
using CommandTokens = std::list<std::string>;

// Turns msg into the order that the line spells. kOk, or kFailure for an unknown option or too many
// interfaces.
[[nodiscard]] int parseRemoteCommand(const SendCommandReq& command, VendMsg& msg);

// Hands the result of a remote command of a local client to that client. kOk.
int handleSendCommandRespMsg(const VendContext& context, const RetCodePayload& answer);

// Turns msg into the order that the tokens of a line spell; tokenCount is their number. Takes the
// tokens. kOk or kFailure as above.
[[nodiscard]] int parseCommand(size_t tokenCount, CommandTokens& tokens, VendMsg& msg);

// Answers a remote command with its result code. kOk if retCode is kOk and the answer was sent,
// else kFailure.
int requestCommandresult(const VendContext& context, int retCode);
