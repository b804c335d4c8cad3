#include "support/layout_printer.h"

#include <map>

#include "vendor/payloads.h"

namespace {

// Prints a layout as the rows of a table.
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
    void text(const char* countName, const char* name, const std::string&, size_t capacity);
    template <typename Between>
    void data(const char* countName, const char* name, const std::vector<uint8_t>&, size_t capacity,
              Between&& between) {
        add(countName, "2");
        between();
        addBytes(name, countName, capacity);
    }
    template <typename List, typename Entry>
    void list(const char* countName, const List&, size_t capacity, Entry&& describeEntry) {
        beginList(countName, capacity);
        const typename List::value_type entry{};
        describeEntry(*this, entry);
        endList();
    }
    void wide(const char* name, uint32_t) { add(name, "2", "1 in entries of old senders"); }
    void tellWidth(size_t head, size_t wideEntry);
    void optionAndText(const char* countName, const char* optionName, const char* name, uint8_t,
                       const std::string&, size_t capacity);

  private:
    void add(const char* name, const char* width, const char* note = "");
    void addBytes(const char* name, const char* countName, size_t capacity);
    void beginList(const char* countName, size_t capacity);
    void endList();

    std::vector<LayoutRow> rows_;
    std::string prefix_;
};

void FieldPrinter::add(const char* name, const char* width, const char* note) {
    rows_.push_back({prefix_ + name, width, note});
}

void FieldPrinter::addBytes(const char* name, const char* countName, size_t capacity) {
    add(name, countName, ("bytes, at most " + std::to_string(capacity)).c_str());
}

void FieldPrinter::text(const char* countName, const char* name, const std::string&,
                        size_t capacity) {
    add(countName, "2");
    add(name, countName, ("text, at most " + std::to_string(capacity) + " bytes").c_str());
}

void FieldPrinter::beginList(const char* countName, size_t capacity) {
    add(countName, "1", ("number of entries, at most " + std::to_string(capacity)).c_str());
    prefix_ += "each: ";
}

void FieldPrinter::endList() {
    prefix_.resize(prefix_.size() - sizeof "each: " + 1);
}

void FieldPrinter::tellWidth(size_t head, size_t wideEntry) {
    const std::string wide = std::to_string(wideEntry);
    add("", "",
        ("entries are of " + wide + " bytes when the payload is " + std::to_string(head) +
         " more than a multiple of " + wide + ", else of the old form")
            .c_str());
}

void FieldPrinter::optionAndText(const char* countName, const char* optionName, const char* name,
                                 uint8_t, const std::string&, size_t capacity) {
    add(countName, "2", "0 ends the payload");
    add(optionName, "1");
    add(name, (std::string(countName) + " - 1").c_str(),
        ("text, at most " + std::to_string(capacity) + " bytes").c_str());
}

template <typename Payload>
std::vector<LayoutRow> print() {
    FieldPrinter printer;
    const Payload payload{};
    Payload::describe(printer, payload);
    return printer.rows();
}

#define LAYOUT(Payload) \
    { #Payload, print < Payload> }

const std::map<std::string_view, std::vector<LayoutRow> (*)()> kLayouts{
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

}  // namespace

std::vector<LayoutRow> printLayout(std::string_view layout) {
    const auto at = kLayouts.find(layout);
    return at != kLayouts.end() ? at->second() : std::vector<LayoutRow>{};
}
