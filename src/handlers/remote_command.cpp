#include "handlers/remote_command.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "handlers/answer_memory.h"
#include "orders/answer_writers.h"
#include "wire/vend_payloads.h"

namespace {

constexpr size_t kMaxToken = 1023;  // longer tokens are cut

// Bytes that the token does not spell stay zero.
MacAddr macOf(const std::string& token) {
    MacAddr mac;
    (void)sscanf(token.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac.b[0], &mac.b[1], &mac.b[2],
                 &mac.b[3], &mac.b[4], &mac.b[5]);
    return mac;
}

// The next token, empty after the last one.
std::string take(CommandTokens& tokens) {
    if (tokens.empty()) return {};
    std::string token = std::move(tokens.front());
    tokens.pop_front();
    return token;
}

uint8_t takeNumber(CommandTokens& tokens) {
    return static_cast<uint8_t>(strtol(take(tokens).c_str(), nullptr, 10));
}

// One builder per option. Each takes the tokens after the option.
int copyCommand_Set_Reboot(size_t, CommandTokens& tokens, VendMsg& msg) {
    msg.vendMsgType = VEND_MSG_TYPE_REBOOT_REQ;
    msg.payload.emplace<AlMacPayload>(AlMacPayload{macOf(take(tokens))});
    return kOk;
}

int copyCommand_Set_Power_Ctrl(size_t tokenCount, CommandTokens& tokens, VendMsg& msg) {
    IntfPwrCtrlReq request;
    request.almac = macOf(take(tokens));
    // Meant: only the number of tokens decides how many interfaces there are.
    const size_t intfNum = tokenCount < 3 ? 0 : (tokenCount - 3) / 2;
    if (intfNum > kMaxIntfEntries) return kFailure;
    for (size_t i = 0; i < intfNum; i++) {
        const MacAddr mac = macOf(take(tokens));
        const unsigned long mediaType = strtoul(take(tokens).c_str(), nullptr, 16);
        request.intfs.push_back({mac, static_cast<uint16_t>(mediaType)});
    }
    if (!tokens.empty()) {
        request.pwrState = static_cast<uint8_t>(strtol(tokens.back().c_str(), nullptr, 10));
    }
    msg.vendMsgType = VEND_MSG_TYPE_INTF_PWR_CTRL_REQ;
    msg.payload.emplace<IntfPwrCtrlReq>(std::move(request));
    return kOk;
}

int copyOption(VendMsgType type, CommandTokens& tokens, VendMsg& msg) {
    const MacAddr almac = macOf(take(tokens));
    msg.vendMsgType = type;
    msg.payload.emplace<OptionPayload>(OptionPayload{almac, takeNumber(tokens)});
    return kOk;
}

int copyCommand_APautoconfig_Cfg(size_t, CommandTokens& tokens, VendMsg& msg) {
    return copyOption(VEND_MSG_TYPE_WPS_CTRL_REQ, tokens, msg);
}

int copyCommand_APSteering(size_t, CommandTokens& tokens, VendMsg& msg) {
    return copyOption(VEND_MSG_TYPE_APSteering_REQ, tokens, msg);
}

int copyCommand_FW_control(size_t, CommandTokens& tokens, VendMsg& msg) {
    FwCtrlReq request;
    (void)take(tokens);  // the AL MAC, which a firmware order does not carry
    request.fwOption = takeNumber(tokens);
    request.fwTopoOption = takeNumber(tokens);
    request.fwUrl = take(tokens);
    msg.vendMsgType = VEND_MSG_TYPE_FW_CTRL_REQ;
    msg.payload.emplace<FwCtrlReq>(std::move(request));
    return kOk;
}

int copyCommand_Reset_To_Default(size_t, CommandTokens& tokens, VendMsg& msg) {
    msg.vendMsgType = VEND_MSG_TYPE_RESETTODEFAULT_REQ;
    msg.payload.emplace<AlMacPayload>(AlMacPayload{macOf(take(tokens))});
    return kOk;
}

struct CommandOption {
    int option;
    int (*build)(size_t tokenCount, CommandTokens& tokens, VendMsg& msg);
};

// Meant: there are no options 1, 4, 5 and 6.
constexpr CommandOption kOptions[] = {
    {2, copyCommand_Set_Reboot},       {3, copyCommand_Set_Power_Ctrl},
    {7, copyCommand_APautoconfig_Cfg}, {8, copyCommand_APSteering},
    {9, copyCommand_FW_control},       {10, copyCommand_Reset_To_Default},
};

CommandTokens split(std::string_view line) {
    CommandTokens tokens;
    while (!line.empty()) {
        const size_t end = std::min(line.find(' '), line.size());
        tokens.emplace_back(line.substr(0, std::min(end, kMaxToken)));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return tokens;
}

}  // namespace

int parseCommand(size_t tokenCount, CommandTokens& tokens, VendMsg& msg) {
    const int option = static_cast<int>(strtol(take(tokens).c_str(), nullptr, 10));
    LOG(4, "option = %d \n", option);
    msg.payload.emplace<std::monostate>();
    for (const auto& known : kOptions) {
        if (known.option == option) return known.build(tokenCount, tokens, msg);
    }
    LOG(3, "ctrl option (%d) is not work !! \r\n", option);
    return kFailure;
}

int requestCommandresult(const VendContext& context, int retCode) {
    const int sent = sendAnswer(context, VEND_MSG_TYPE_SENDCOMMAND_RESP, RetCodePayload(retCode));
    if (retCode == kOk && sent == kOk) return kOk;
    LOG_PUTS(2, "Send Command\r");
    return kFailure;
}

int parseRemoteCommand(const SendCommandReq& command, VendMsg& msg) {
    LOG(4, "CommandDatacount = %d \n", command.commandDataCount);
    LOG(4, "CommandURLcount  = %d \n", static_cast<int>(command.commandUrl.size()));
    LOG(4, "CommandURL       = %s \n", plainText(command.commandUrl).c_str());
    CommandTokens tokens = split(command.commandUrl);
    return parseCommand(tokens.size(), tokens, msg);
}

int handleSendCommandRespMsg(const VendContext& context, const RetCodePayload& answer) {
    return respSendCommandServReq(context.msgId, answer.retCode);
}
