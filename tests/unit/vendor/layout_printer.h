// The layouts of the vendor payloads as tables for people, from the descriptions by which the
// daemon writes and reads them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "vendor/payloads.h"

// The rows of a layout's table.
struct LayoutRow {
    std::string name, width, note;
};

// Prints a layout as such rows.
class FieldPrinter {
  public:
    const std::vector<LayoutRow>& rows() const { return rows_; }

    void u8(const char* name, uint32_t) { add(name, "1"); }
    void u16(const char* name, uint32_t) { add(name, "2"); }
    void u32(const char* name, uint32_t) { add(name, "4"); }
    void mac(const char* name, const MacAddr&) { add(name, "6"); }
    void portMac(const char* name, const MacAddr&) {
        add(name, "6", "MAC address of the port by which the message leaves");
    }
    void text(const char* countName, const char* name, const std::string&, size_t capacity) {
        add(countName, "2");
        add(name, countName, "text, at most " + std::to_string(capacity) + " bytes");
    }
    template <typename Between>
    void data(const char* countName, const char* name, const std::vector<uint8_t>&, size_t capacity,
              Between&& between) {
        add(countName, "2");
        between();
        add(name, countName, "bytes, at most " + std::to_string(capacity));
    }
    template <typename List, typename Entry>
    void list(const char* countName, const List&, size_t capacity, Entry&& describeEntry) {
        add(countName, "1", "number of entries, at most " + std::to_string(capacity));
        const std::string outer = prefix_;
        prefix_ += "each: ";
        const typename List::value_type entry{};
        describeEntry(*this, entry);
        prefix_ = outer;
    }
    void wide(const char* name, uint32_t) { add(name, "2", "1 in entries of old senders"); }
    void tellWidth(size_t head, size_t wideEntry) {
        const std::string wide = std::to_string(wideEntry);
        add("", "",
            "entries are of " + wide + " bytes when the payload is " + std::to_string(head) +
                " more than a multiple of " + wide + ", else of the old form");
    }
    void optionAndText(const char* countName, const char* optionName, const char* name, uint8_t,
                       const std::string&, size_t capacity) {
        add(countName, "2", "0 ends the payload");
        add(optionName, "1");
        add(name, std::string(countName) + " - 1",
            "text, at most " + std::to_string(capacity) + " bytes");
    }

  private:
    void add(const std::string& name, const std::string& width, const std::string& note = "") {
        rows_.push_back({prefix_ + name, width, note});
    }

    std::vector<LayoutRow> rows_;
    std::string prefix_;
};

template <typename Payload>
std::vector<LayoutRow> printLayoutOf() {
    FieldPrinter printer;
    const Payload payload{};
    Payload::describe(printer, payload);
    return printer.rows();
}

// The rows of a layout's table; none for an unknown layout.
inline std::vector<LayoutRow> printLayout(std::string_view layout) {
#define LAYOUT(Payload) \
    { #Payload, printLayoutOf < Payload> }
    static const std::map<std::string_view, std::vector<LayoutRow> (*)()> kLayouts{
        LAYOUT(AlMacPayload),     LAYOUT(RetCodePayload),  LAYOUT(OptionPayload),
        LAYOUT(TextPayload),      LAYOUT(ConfResp),        LAYOUT(IntfPwrStateResp),
        LAYOUT(IntfPwrCtrlReq),   LAYOUT(IntfPwrCtrlResp), LAYOUT(WifiStateResp),
        LAYOUT(SpeedTestCtrlReq), LAYOUT(FwCtrlReq),       LAYOUT(FwCtrl2Req),
        LAYOUT(SendCommandReq),   LAYOUT(IntfNameResp),    LAYOUT(LogFileResp),
        LAYOUT(SecurityCtrlMsg),  LAYOUT(VendDisc),        LAYOUT(NetworkCtrlReq),
        LAYOUT(NetworkCtrlResp),  LAYOUT(CountryCodeReq),  LAYOUT(BcnRptReqPayload),
        LAYOUT(BcnRptResp),       LAYOUT(BtmReqPayload),   LAYOUT(BlacklistReq),
        LAYOUT(BlacklistResp),
    };
#undef LAYOUT
    const auto at = kLayouts.find(layout);
    return at != kLayouts.end() ? at->second() : std::vector<LayoutRow>{};
}
