// Feeds vm1905.json to vm1905ctl, with a daemon that knows the devices of the file, and prints all
// views that are built on it. The input is also taken for vm1905.conf, which names the folder.
#include "data_model.h"
#include "failure.h"
#include "process.h"
#include "support/played_daemon.h"
#include "views.h"

namespace {

void printAll(const Report& report) {
    std::string text, json, pairs;
    report.print(Format::kText, text);
    report.print(Format::kJson, json);
    report.print(Format::kKeyValue, pairs);
    require(Json::accept(json));
    for (const char c : text) require(c == '\n' || (c & 0xE0) != 0);
    (void)report.fingerprint();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes text(data, size);
    const std::string path = writeScratch("vm1905.json", text);
    require(dataModelPath(path).ends_with("/vm1905.json"));
    const DataModel model = parseDataModel(textOf(text));
    if (!model.trouble.empty()) return 0;
    playedDaemon = {&model};
    Options options;
    options.dataModel = path;
    Session session(options, "vm1905ctl");
    require(session.model().trouble.empty());
    for (Report (*show)(Session&) : {showStatus, showInterfaces, showDevices}) {
        printAll(show(session));
    }
    printAll(showLinks(session, ""));
    for (const Drawing drawing : {Drawing::kTree, Drawing::kDot, Drawing::kMermaid}) {
        printAll(showTopology(session, "", true, drawing));
    }
    std::vector<std::string> names{"self"};
    for (const ModelDevice& device : model.devices) names.push_back(device.text("Hostname"));
    for (const std::string& name : names) {
        try {
            printAll(showDevice(session, name));
        } catch (const Failure& failure) {
            require(failure.status == kUsage);  // a name that is not unique
        }
    }
    return 0;
}
