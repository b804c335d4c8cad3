-- Shows the messages of the vendor protocol (docs/vendor-protocol.md) in Wireshark and tshark:
--
--     tshark -X lua_script:docs/wireshark/vm1905.lua -r capture.pcap -Y vm1905
--
-- The built-in dissector of IEEE 1905.1 has no table in which a vendor can register, so this is a
-- postdissector: it decodes the vendor TLVs found there, including those of reassembled messages.

local OUI = 0x0a3c71
local HEADER_LENGTH = 12  -- between the OUI and the payload

-- Number -> label, layout. Every device refuses types without a label. A unit test compares the lines
-- between "begin" and "end" with the daemon's tables.
local TYPES = {
    -- begin types
    [0] = {"VEND_MSG_TYPE_CONF_QUERY", "AlMacPayload"},
    [1] = {"VEND_MSG_TYPE_CONF_RESP", "ConfResp"},
    [2] = {"VEND_MSG_TYPE_INTF_PWR_STATE_QUERY", "AlMacPayload"},
    [3] = {"VEND_MSG_TYPE_INTF_PWR_STATE_RESP", "IntfPwrStateResp"},
    [4] = {"VEND_MSG_TYPE_REBOOT_REQ", "AlMacPayload"},
    [5] = {"VEND_MSG_TYPE_REBOOT_RESP", "RetCodePayload"},
    [6] = {"VEND_MSG_TYPE_INTF_PWR_CTRL_REQ", "IntfPwrCtrlReq"},
    [7] = {"VEND_MSG_TYPE_INTF_PWR_CTRL_RESP", "IntfPwrCtrlResp"},
    [8] = {"VEND_MSG_TYPE_WIFI_STATE_REQ", "AlMacPayload"},
    [9] = {"VEND_MSG_TYPE_WIFI_STATE_RESP", "WifiStateResp"},
    [10] = {"VEND_MSG_TYPE_SPEEDTEST_START", "SpeedTestCtrlReq"},
    [11] = {"VEND_MSG_TYPE_SPEEDTEST_DATA", "TextPayload"},
    [12] = {"VEND_MSG_TYPE_SPEEDTEST_STOP", "SpeedTestCtrlReq"},
    [13] = {"VEND_MSG_TYPE_WIFISTATESEARCH", "AlMacPayload"},
    [14] = {"VEND_MSG_TYPE_WIFISTATERENEW", "TextPayload"},
    [15] = {"VEND_MSG_TYPE_WIFISTATEACK", "TextPayload"},
    [16] = {"VEND_MSG_TYPE_WPS_CTRL_REQ", "OptionPayload"},
    [17] = {"VEND_MSG_TYPE_WPS_CTRL_RESP", "RetCodePayload"},
    [18] = {"VEND_MSG_TYPE_APSteering_REQ", "OptionPayload"},
    [19] = {"VEND_MSG_TYPE_APSteering_RESP", "RetCodePayload"},
    [20] = {"VEND_MSG_TYPE_FW_CTRL_REQ", "FwCtrlReq"},
    [21] = {"VEND_MSG_TYPE_FW_CTRL_RESP", "RetCodePayload"},
    [22] = {"VEND_MSG_TYPE_RESETTODEFAULT_REQ", "AlMacPayload"},
    [23] = {"VEND_MSG_TYPE_RESETTODEFAULT_RESP", "RetCodePayload"},
    [25] = {"VEND_MSG_TYPE_SENDCOMMAND_REQ", "SendCommandReq"},
    [26] = {"VEND_MSG_TYPE_SPEEDTEST_ACK", "OptionPayload"},
    [27] = {"VEND_MSG_TYPE_INTF_NAME_RESP", "IntfNameResp"},
    [28] = {"VEND_MSG_TYPE_REQUESTLOGFILE_REQ", "AlMacPayload"},
    [29] = {"VEND_MSG_TYPE_REQUESTLOGFILE_RESP", "LogFileResp"},
    [30] = {"VEND_MSG_TYPE_REQUESTLOGFILE_ACK", "OptionPayload"},
    [31] = {"VEND_MSG_TYPE_APAUTOCONFIG_ACK", "OptionPayload"},
    [32] = {"VEND_MSG_TYPE_SENDCOMMAND_RESP", "RetCodePayload"},
    [33] = {"VEND_MSG_TYPE_LED_CTRL_REQ", "OptionPayload"},
    [34] = {"VEND_MSG_TYPE_LED_CTRL_MCAST_REQ", "OptionPayload"},
    [35] = {"VEND_MSG_TYPE_LED_CTRL_RESP", "RetCodePayload"},
    [36] = {"VEND_MSG_TYPE_WIFI_CLIENT_MCAST2", "TextPayload"},
    [37] = {"VEND_MSG_TYPE_FWSTATECHANGE_REQ", "AlMacPayload"},
    [38] = {"VEND_MSG_TYPE_FWSTATECHANGE_RESP", "OptionPayload"},
    [39] = {"VEND_MSG_TYPE_WIFICHANNELSEARCH", "AlMacPayload"},
    [40] = {"VEND_MSG_TYPE_WIFICHANNELRENEW", "TextPayload"},
    [41] = {"VEND_MSG_TYPE_WIFICHANNELACK", "TextPayload"},
    [42] = {nil, "AlMacPayload"},
    [43] = {nil, "TextPayload"},
    [44] = {"VEND_MSG_TYPE_SECURITYCTRL_MSG", "SecurityCtrlMsg"},
    [45] = {"VEND_MSG_TYPE_VEND_DISC", "VendDisc"},
    [46] = {"VEND_MSG_TYPE_FW_CTRL_2_REQ", "FwCtrl2Req"},
    [47] = {nil, "OptionPayload"},
    [48] = {nil, "OptionPayload"},
    [49] = {"VEND_MSG_TYPE_NETWORKCTRL_REQ", "NetworkCtrlReq"},
    [50] = {"VEND_MSG_TYPE_NETWORKCTRL_RESP", "NetworkCtrlResp"},
    [51] = {"VEND_MSG_TYPE_CONF_QUERY2", "AlMacPayload"},
    [52] = {"VEND_MSG_TYPE_CONF_RESP2", "ConfResp"},
    [53] = {"VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ", "CountryCodeReq"},
    [54] = {"VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP", "RetCodePayload"},
    [55] = {nil, "OptionPayload"},
    [56] = {"VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ", "TextPayload"},
    [64] = {"VEND_MSG_TYPE_SENDBCNRPT_REQ", "BcnRptReqPayload"},
    [65] = {"VEND_MSG_TYPE_GETBCNRPT_RESP", "BcnRptResp"},
    [66] = {"VEND_MSG_TYPE_GETBCNRPT_REQ", "BcnRptReqPayload"},
    [67] = {"VEND_MSG_TYPE_GETBCNRPT_RESP", "BcnRptResp"},
    [68] = {"VEND_MSG_TYPE_SENDBTM_REQ", "BtmReqPayload"},
    [69] = {"VEND_MSG_TYPE_SENDBTM_RESP", "RetCodePayload"},
    [70] = {"VEND_MSG_TYPE_ADDBLACKLIST_REQ", "BlacklistReq"},
    [71] = {"VEND_MSG_TYPE_ADDBLACKLIST_RESP", "BlacklistResp"},
    [72] = {"VEND_MSG_TYPE_ADDBLACKLIST_REQ", "BlacklistReq"},
    [73] = {"VEND_MSG_TYPE_ADDBLACKLIST_RESP", "BlacklistResp"},
    [74] = {"VEND_MSG_TYPE_SYSTEM_CTRL_REQ", "OptionPayload"},
    [75] = {"VEND_MSG_TYPE_SYSTEM_CTRL_MCAST_REQ", "OptionPayload"},
    [76] = {"VEND_MSG_TYPE_SYSTEM_CTRL_RESP", "RetCodePayload"},
    -- end types
}

-- Configuration items, followed by the items of a firmware order with a file name.
local CONF_ITEMS = {
    -- begin items
    [0] = "EnableReboot",
    [1] = "EnableInterfacePowerControl",
    [2] = "FirmwareVersion",
    [3] = "MaxChangeLogEntries",
    [4] = "DeviceType",
    [9] = "FirmwareState",
    [7] = "Hostname",
    [12] = "DeviceIP",
    [11] = "DeviceLANMac",
    [8] = "DeviceMode",
    [5] = "ReleaseVersion",
    [6] = "ReleaseVersion (newer)",
    [10] = "BuildNumber",
    [13] = "LEDstatus",
    [14] = "LEDBrightness",
    [15] = "DeviceUptime",
    [16] = "DaisychainOption",
    [17] = "NetworkState_dnsmasq,NetworkState_IntfInBridge",
    [18] = "Configure",
    [19] = "SSHState",
    [20] = "TelnetState",
    [21] = "CountryCode",
    [22] = "WIFICountryCode",
    [23] = "WIFI24GChannel",
    [24] = "WIFI5GChannel",
    [25] = "WIFI5G2Channel",
    [26] = "EthernetPortState",
    [27] = "Backhaultype",
    [28] = "Version",
    [29] = "L2DeviceCtrl",
    [30] = "WiFiAutoCfg",
    [31] = "WiFiOnOff",
    [32] = "FwUpgrade",
    [33] = "LEDOnOff",
    [34] = "DSI",
    [35] = "vm1905Version",
    [36] = "AP-autoconfig_Main24G, _Main5G, _Guest24G, _Guest5G",
    [37] = "Main24G_time",
    [38] = "Main5G_time",
    [39] = "Guest24G_time",
    [40] = "Guest5G_time",
    [41] = "Visitor24G_time",
    [43] = "Visitor5G_time",
    [44] = "Backhaul24GAP_time",
    [45] = "Backhaul24GST_time",
    [46] = "Backhaul5GAP_time",
    [47] = "Backhaul5GST_time",
    [48] = "Backhaul5G2AP_time",
    [49] = "Backhaul5G2ST_time",
    -- end items
}
for n = 1, 8 do CONF_ITEMS[100 + n] = "IPv6IP " .. n end
local FIRMWARE_ITEMS = {[0] = "FWOption", "FWTopoOption", "FWURL", "FWFileName"}
-- Numeric items; all others are text.
local NUMBERS = {EnableReboot = true, EnableInterfacePowerControl = true, DeviceType = true,
                 MaxChangeLogEntries = true, FirmwareState = true, FWOption = true,
                 FWTopoOption = true}

local RESULTS = {[0] = "done", [1] = "no such interface", [2] = "power state not supported",
                 [7] = "not addressed to the device", [16] = "refused or failed"}
local POWER_STATES = {[0] = "on", [1] = "power save", [2] = "off", [3] = "not supported"}
local ROLES = {[0] = "Registrar", [1] = "Enrollee"}
local FIRMWARE_STATES = {[0] = "Failed", "Idle", "Busy", "Upgrade", "Upgrade_EX", "Reboot"}
local ITEM_WORDS = {DeviceType = ROLES, FirmwareState = FIRMWARE_STATES}
-- The meaning of a message's option.
local OPTIONS = {[16] = "WPSOption", [18] = "AP steering option", [26] = "result", [30] = "result",
                 [31] = "frequency band", [33] = "LEDOption", [34] = "LEDOption",
                 [38] = "firmware state", [74] = "SystemOption", [75] = "SystemOption"}
local OPTION_WORDS = {[26] = RESULTS, [30] = RESULTS, [38] = FIRMWARE_STATES}

local vm1905 = Proto("vm1905", "vm1905 vendor message")

local labels = {}
for number, row in pairs(TYPES) do labels[number] = row[1] or "not used" end

local fields = {
    oui = ProtoField.uint24("vm1905.oui", "OUI", base.HEX),
    al_mac = ProtoField.ether("vm1905.al_mac", "AL MAC of the sender"),
    header_a = ProtoField.uint8("vm1905.header_a", "Header byte A"),
    header_b = ProtoField.uint8("vm1905.header_b", "Header byte B"),
    type = ProtoField.uint16("vm1905.type", "Type", base.DEC, labels),
    label = ProtoField.string("vm1905.label", "Label"),
    payload_length = ProtoField.uint16("vm1905.payload_length", "Payload length"),
    rest = ProtoField.bytes("vm1905.rest", "More than the layout"),
    retCode = ProtoField.uint8("vm1905.retcode", "retCode", base.DEC, RESULTS),
    pwrState = ProtoField.uint8("vm1905.pwrstate", "pwrState", base.DEC, POWER_STATES),
    mediaType = ProtoField.uint16("vm1905.mediatype", "mediaType", base.HEX),
    inner_type = ProtoField.uint8("vm1905.inner_type", "type", base.DEC, {"M1", "M2"}),
    entry = ProtoField.none("vm1905.entry", "Entry"),
    item_type = ProtoField.uint8("vm1905.item.type", "type"),
    item_name = ProtoField.string("vm1905.item.name", "name"),
    item_length = ProtoField.uint16("vm1905.item.length", "length"),
    item_number = ProtoField.uint16("vm1905.item.number", "value"),
    item_text = ProtoField.string("vm1905.item.text", "value"),
    key_start = ProtoField.uint24("vm1905.key.start", "Start number"),
    key_sequence = ProtoField.uint24("vm1905.key.sequence", "Sequence number"),
}
-- The other payload fields have the names used in the layouts.
local function define(kind, names)
    for name in names:gmatch("%S+") do
        fields[name] = ProtoField[kind]("vm1905." .. name:lower(), name)
    end
end
define("ether", "almac intfmac mac lanMac staMac bssid")
define("uint8", [[option itemnum intfnum num Enable Action FWOption FWTopoOption signalLevel
    operatingClass channel mode disassocImminent kind]])
define("uint16", [[datalen URLcount length CommandDatacount CommandURLcount namelen Filenamecount
    FTPURLcount NetworkOption NetworkCommandCount WIFICountryCodeCount rate rssi duration ssidlen
    reportlen disassocTimer]])
define("uint32", "StartTime runtime")
define("string", [[text URL FWURL CommandURL name Filename FTPURL NetworkCommand WIFICountryCode
    ssid]])
define("bytes", "data report")
vm1905.fields = fields

local cut_off = ProtoExpert.new("vm1905.cut_off", "The payload is cut off",
                                expert.group.MALFORMED, expert.severity.ERROR)
local other_length = ProtoExpert.new("vm1905.other_length",
                                     "The declared length is not that of the payload",
                                     expert.group.PROTOCOL, expert.severity.NOTE)
local unknown_type = ProtoExpert.new("vm1905.unknown_type", "Unknown message type",
                                     expert.group.UNDECODED, expert.severity.WARN)
vm1905.experts = {cut_off, other_length, unknown_type}

-- Reads a payload field by field. After the first missing byte ok is false, numbers read as 0 and
-- nothing more is shown.
local Cursor = {}
Cursor.__index = Cursor

local function new_cursor(range, at, tree, type)
    return setmetatable({range = range, at = at, tree = tree, type = type, ok = true}, Cursor)
end

function Cursor:left() return self.range:len() - self.at end

function Cursor:take(length)
    if not self.ok or length > self:left() then
        self.ok = false
        return nil
    end
    local part = length > 0 and self.range:range(self.at, length) or nil
    self.at = self.at + length
    return part
end

-- Returns a number and the tree item that shows it.
function Cursor:number(name, width)
    local part = self:take(width)
    if not part then return 0 end
    return part:uint(), self.tree:add(fields[name], part)
end

function Cursor:u8(name) return self:number(name, 1) end
function Cursor:u16(name) return self:number(name, 2) end
function Cursor:u32(name) return self:number(name, 4) end

function Cursor:mac(name)
    local part = self:take(6)
    if not part then return "" end
    self.tree:add(fields[name], part)
    return tostring(part:ether())
end

function Cursor:bytes(name, length)
    local part = self:take(length)
    if part then self.tree:add(fields[name], part) end
end

function Cursor:string(name, length)
    local part = self:take(length)
    if not part then return "" end
    self.tree:add_packet_field(fields[name], part, ENC_UTF_8)
    return part:string(ENC_UTF_8)
end

function Cursor:text(count_name, name) return self:string(name, self:u16(count_name)) end

-- read(cursor) shows one entry and returns its title.
function Cursor:list(count_name, read)
    local outer = self.tree
    for n = 1, self:u8(count_name) do
        -- An entry has at least one byte, so a large count costs nothing.
        if not self.ok or self:left() == 0 then
            self.ok = false
            break
        end
        local begin = self.at
        self.tree = outer:add(fields.entry, self.range:range(begin, 1))
        local title = read(self)
        self.tree:set_len(math.max(1, self.at - begin))
        self.tree:set_text(self.ok and title:gsub("%c", ".") or n .. " (cut off)")
        self.tree = outer
    end
end

function Cursor:item(names)
    local number, shown = self:u8("item_type")
    if not self.ok then return "" end
    local name = names[number] or "unknown item"
    shown:append_text(" (" .. name .. ")")
    self.tree:add(fields.item_name, name):set_generated()
    local length = self:u16("item_length")
    if NUMBERS[name] and (length == 1 or length == 2) then
        local value, item = self:number("item_number", length)
        local word = (ITEM_WORDS[name] or {})[value]
        if self.ok and word then item:append_text(" (" .. word .. ")") end
        return string.format("%d %s: %s", number, name, word or value)
    end
    return string.format("%d %s: %s", number, name, self:string("item_text", length))
end

local function intf(read_value)
    return function(c)
        return c:mac("intfmac") .. string.format(", media type 0x%04x", c:u16("mediaType")) ..
            read_value(c)
    end
end
local intf_power = intf(function(c)
    local state = c:u8("pwrState")
    return ", " .. (POWER_STATES[state] or state)
end)
local intf_result = intf(function(c)
    local code = c:u8("retCode")
    return string.format(", result %d (%s)", code, RESULTS[code] or "unknown")
end)

local LAYOUTS = {
    AlMacPayload = function(c) c:mac("almac") end,
    RetCodePayload = function(c) c:u8("retCode") end,
    OptionPayload = function(c)
        c:mac("almac")
        local value, shown = c:u8("option")
        if not c.ok then return end
        local word = (OPTION_WORDS[c.type] or {})[value]
        shown:append_text((word and " (" .. word .. ")" or "") ..
                          (OPTIONS[c.type] and ", " .. OPTIONS[c.type] or ""))
    end,
    TextPayload = function(c)
        c:mac("almac")
        c:text("datalen", "text")
    end,
    ConfResp = function(c)
        c:mac("almac")
        c:list("itemnum", function(e) return e:item(CONF_ITEMS) end)
    end,
    IntfPwrStateResp = function(c)
        c:mac("almac")
        c:list("intfnum", intf_power)
    end,
    IntfPwrCtrlReq = function(c)
        c:mac("almac")
        c:list("intfnum", intf(function() return "" end))
        c:u8("pwrState")
    end,
    IntfPwrCtrlResp = function(c) c:list("intfnum", intf_result) end,
    WifiStateResp = function(c, payload_length)
        -- Old senders use one byte each for rate and rssi; only the declared length shows it.
        local width = (payload_length >= 1 and (payload_length - 1) % 13 == 0) and 2 or 1
        c:list("num", function(e)
            local title = e:mac("mac")
            e:u16("mediaType")
            e:number("rate", width)
            e:number("rssi", width)
            e:u8("signalLevel")
            return title
        end)
    end,
    SpeedTestCtrlReq = function(c)
        c:u8("Enable")
        c:u8("Action")
        c:text("URLcount", "URL")
        c:u32("StartTime")
        c:u32("runtime")
        c:mac("lanMac")
    end,
    FwCtrlReq = function(c)
        c:u8("FWOption")
        local length = c:u16("length")
        if length == 0 then return end
        c:u8("FWTopoOption")
        c:string("FWURL", length - 1)
    end,
    FwCtrl2Req = function(c)
        c:list("itemnum", function(e) return e:item(FIRMWARE_ITEMS) end)
    end,
    SendCommandReq = function(c)
        c:u16("CommandDatacount")
        c:text("CommandURLcount", "CommandURL")
    end,
    IntfNameResp = function(c)
        c:mac("almac")
        c:list("intfnum", function(e)
            return e:mac("intfmac") .. " " .. e:text("namelen", "name")
        end)
    end,
    LogFileResp = function(c)
        c:mac("almac")
        c:text("Filenamecount", "Filename")
        c:text("FTPURLcount", "FTPURL")
    end,
    SecurityCtrlMsg = function(c)
        c:mac("almac")
        local length = c:u16("length")
        c:u8("inner_type")
        c:bytes("data", length)
    end,
    VendDisc = function(c)
        c:mac("almac")
        c:mac("intfmac")
    end,
    NetworkCtrlReq = function(c)
        c:mac("almac")
        c:u16("NetworkOption")
        c:text("NetworkCommandCount", "NetworkCommand")
    end,
    NetworkCtrlResp = function(c)
        c:u16("NetworkOption")
        c:u8("retCode")
    end,
    CountryCodeReq = function(c)
        c:mac("almac")
        c:text("WIFICountryCodeCount", "WIFICountryCode")
    end,
    BcnRptReqPayload = function(c)
        c:mac("almac")
        c:mac("staMac")
        c:mac("bssid")
        c:u8("operatingClass")
        c:u8("channel")
        c:u8("mode")
        c:u16("duration")
        c:text("ssidlen", "ssid")
    end,
    BcnRptResp = function(c)
        c:u8("kind")
        c:u8("retCode")
        c:mac("staMac")
        c:bytes("report", c:u16("reportlen"))
    end,
    BtmReqPayload = function(c)
        c:mac("almac")
        c:mac("staMac")
        c:mac("bssid")
        c:u8("operatingClass")
        c:u8("channel")
        c:u8("disassocImminent")
        c:u16("disassocTimer")
    end,
    BlacklistReq = function(c)
        c:mac("almac")
        c:u8("option")
        c:mac("staMac")
    end,
    BlacklistResp = function(c)
        c:u8("option")
        c:u8("retCode")
    end,
}

-- range: the TLV's value after the OUI.
local function dissect(oui, range, pinfo, root)
    local tree = root:add(vm1905, range)
    tree:add(fields.oui, oui)
    local c = new_cursor(range, 0, tree, nil)
    c:mac("al_mac")
    c:u8("header_a")
    c:u8("header_b")
    c.type = c:u16("type")
    local length = c:u16("payload_length")
    if c.ok then
        local row = TYPES[c.type]
        local label = row and row[1] or string.format("vendor message type %d", c.type)
        tree:append_text(", " .. label)
        tree:add(fields.label, label):set_generated()
        pinfo.cols.info:append(" [" .. label .. "]")
        if row then
            LAYOUTS[row[2]](c, length)
        else
            tree:add_proto_expert_info(unknown_type)
        end
        if c.ok and c:left() > 0 then c:bytes("rest", c:left()) end
        if length ~= range:len() - HEADER_LENGTH then tree:add_proto_expert_info(other_length) end
    end
    if not c.ok then tree:add_proto_expert_info(cut_off) end
end

local get_ouis = Field.new("ieee1905.vendor_specific.oui")
local get_contents = Field.new("ieee1905.vendor_specific.info")

-- Newer versions of the built-in dissector show the integrity TLV, whose layout is that of the
-- Multi-AP MIC TLV, but not the two parts of its counter. The MIC cannot be checked without the key.
local knows_mic, get_counters =
    pcall(Field.new, "ieee1905.mic.integrity_transmission_counter")

local function show_counter(range, pinfo, root)
    local tree = root:add(vm1905, range, "vm1905 mesh key")
    tree:add(fields.key_start, range:range(0, 3))
    tree:add(fields.key_sequence, range:range(3, 3))
    pinfo.cols.info:append(" [signed]")
end

function vm1905.dissector(_, pinfo, root)
    local ouis = {}
    for _, oui in ipairs({get_ouis()}) do ouis[oui.offset] = oui.range end
    for _, content in ipairs({get_contents()}) do
        -- A TLV that holds only an OUI has no content, so the two lists may differ in length.
        local oui = ouis[content.offset - 3]
        if content.len > 0 and oui and oui:uint() == OUI then
            dissect(oui, content.range, pinfo, root)
        end
    end
    for _, counter in ipairs(knows_mic and {get_counters()} or {}) do
        show_counter(counter.range, pinfo, root)
    end
end

register_postdissector(vm1905)
