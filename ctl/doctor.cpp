// The view that looks for what is wrong with this device: one function per check.
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "config_check.h"
#include "daemon_process.h"
#include "failure.h"
#include "views.h"
#include "words.h"

namespace {

enum class State { kFine, kWarning, kBroken };

struct Finding {
    State state;
    std::string text;
    std::string remedy;
};
using Findings = std::vector<Finding>;

// What the checks look at.
struct Patient {
    Session& session;
    std::vector<pid_t> daemons{};
    Failure trouble{kDone, ""};  // why the daemon does not answer
    vm1905_al al{};
    std::string modelPath{};
    DataModel model{};
    std::map<std::string, unsigned> flags{};  // of the daemon's interfaces, as in getifaddrs(3)
};

constexpr std::time_t kYear2020 = 1'577'836'800;
constexpr uint64_t kLeastMemory = 8192;  // kB

Findings checkDaemon(Patient& patient) {
    if (patient.trouble.status != kDone) {
        return {{State::kBroken, patient.trouble.text, patient.trouble.advice}};
    }
    if (patient.daemons.empty()) return {};
    const pid_t pid = patient.daemons[0];
    const std::string version = versionOf(pid);
    std::string text = (version.empty() ? "" : version + ", ") + "process " + std::to_string(pid);
    if (const auto uptime = uptimeOf(pid)) {
        text += ", running for " + textOf(Json(*uptime), Unit::kSeconds);
    }
    if (version.empty() || version == VM1905_VERSION) return {{State::kFine, text, ""}};
    return {{State::kWarning, text + "; this vm1905ctl is " VM1905_VERSION,
             "restart the daemon; it may be from before an upgrade"}};
}

Findings checkSecondDaemon(Patient& patient) {
    if (patient.daemons.size() < 2) return {};
    std::string others;
    for (size_t i = 1; i < patient.daemons.size(); i++) {
        others += (i > 1 ? ", " : "") + std::to_string(patient.daemons[i]);
    }
    return {
        {State::kBroken,
         "other daemons run beside process " + std::to_string(patient.daemons[0]) + ": " + others,
         "end the others: kill " + others}};
}

Findings checkRights(Patient& patient) {
    const std::string digits =
        patient.daemons.empty() ? "" : processStatus(patient.daemons[0], "CapEff");
    uint64_t rights = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), rights, 16).ec !=
        std::errc()) {
        return {};
    }
    std::optional<bool> mayReboot;
    (void)readOption(patient.session.client(), nullptr, VM1905_OPTION_REBOOT, mayReboot);
    const struct {
        unsigned bit;
        const char* name;
        const char* use;
        State state;
        bool isNeeded;
    } kRights[] = {
        {13, "CAP_NET_RAW", "open ports", State::kBroken, true},
        {12, "CAP_NET_ADMIN", "switch interfaces and isolate hops", State::kWarning, true},
        {22, "CAP_SYS_BOOT", "reboot", State::kWarning, mayReboot.value_or(true)},
    };
    Findings found;
    for (const auto& [bit, name, use, state, isNeeded] : kRights) {
        if (!isNeeded || (rights >> bit & 1) != 0) continue;
        found.push_back({state, std::string("the daemon cannot ") + use + " without " + name,
                         std::string("start it as root or with ") + name});
    }
    return found;
}

Findings checkPorts(Patient& patient) {
    if (patient.al.no_port == 0) return {};
    return {{State::kBroken, "no port is open, the daemon hears nothing",
             "see EXCLUDE and INCLUDE in platform.conf, and the rights of the daemon"}};
}

Findings checkCarrier(Patient& patient) {
    for (const auto& [name, flags] : patient.flags) {
        if ((flags & IFF_RUNNING) != 0) return {};
    }
    if (patient.flags.empty()) return {};
    return {{State::kWarning, "no interface of the mesh has a link",
             "connect a cable, or: ip link set " + patient.flags.begin()->first + " up"}};
}

Findings checkBridges(Patient& patient) {
    std::set<std::string> down;
    for (const auto& [name, flags] : patient.flags) {
        const std::string master = "/sys/class/net/" + name + "/master";
        unsigned masterFlags = IFF_UP;
        std::ifstream(master + "/flags") >> std::hex >> masterFlags;
        std::error_code error;
        const std::string bridge = std::filesystem::read_symlink(master, error).filename();
        if ((masterFlags & IFF_UP) == 0 && !error) down.insert(bridge);
    }
    Findings found;
    for (const std::string& name : down) {
        found.push_back(
            {State::kWarning, "the bridge " + name + " is down", "ip link set " + name + " up"});
    }
    return found;
}

Findings checkSockets(Patient& patient) {
    Findings found;
    const pid_t pid = patient.daemons.empty() ? 0 : patient.daemons[0];
    for (const auto& [name, flags] : patient.flags) {
        if ((flags & IFF_UP) == 0 || openPorts({name}, pid) != 0) continue;
        found.push_back(
            {State::kWarning, "no socket receives messages on " + name, "vm1905ctl reopen-ports"});
    }
    return found;
}

Findings checkModel(Patient& patient) {
    const std::string remedy = "the log of the daemon says why; see DATA_MODEL_FOLDER";
    if (!patient.model.trouble.empty()) return {{State::kWarning, patient.model.trouble, remedy}};
    if (patient.model.own.alMac != Mac(patient.al.al_mac)) {
        return {{State::kWarning, patient.modelPath + " is that of an earlier daemon", remedy}};
    }
    const auto isCurrent = [&] {
        return (patient.model.devices.size() & 0xFF) == patient.session.topology().dev_num;
    };
    // It follows a change after two seconds.
    for (int i = 0; i < 4 && !isCurrent(); i++) {
        sleep(1);
        patient.model = readDataModel(patient.modelPath);
    }
    if (isCurrent()) return {};
    return {{State::kWarning,
             patient.modelPath + " has " + std::to_string(patient.model.devices.size()) +
                 " other devices, the daemon " + std::to_string(patient.session.topology().dev_num),
             remedy}};
}

Findings checkControlFiles(Patient& /*patient*/) {
    constexpr std::pair<const char*, const char*> kFiles[] = {
        {"/tmp/vm1905_stop", "it ends every daemon"},
        {"/tmp/vm1905_restart", "it restarts every daemon"},
        {"/tmp/vm1905_enableTopol", "it keeps the topology on"},
        {"/tmp/vm1905_disableTopol", "it keeps the topology off"},
        {"/tmp/vm1905_debug", "it keeps the level of the log"},
    };
    Findings found;
    struct stat info {};
    for (const auto& [path, effect] : kFiles) {
        if (lstat(path, &info) != 0) continue;
        found.push_back({State::kWarning, std::string(path) + " is left over: " + effect,
                         std::string("rm ") + path});
    }
    return found;
}

Findings checkConfiguration(Patient& /*patient*/) {
    auto troubles = checkConfig({});
    Findings unread;
    for (const ConfigTrouble& trouble : troubles) {
        if (!trouble.isForbidden) continue;
        unread.push_back({State::kFine, trouble.file + " is not readable for this user", ""});
    }
    std::erase_if(troubles, [](const ConfigTrouble& trouble) { return trouble.isForbidden; });
    if (troubles.empty()) return unread;
    const std::string more =
        troubles.size() > 1 ? " (and " + std::to_string(troubles.size() - 1) + " more)" : "";
    return {{State::kWarning, troubles[0].all() + more, "vm1905ctl check-config"}};
}

Findings checkMeshKey(Patient& patient) {
    vm1905_mesh_key key{};
    check(vm1905_get_mesh_key(patient.session.client(), &key), "the key of the mesh");
    if (key.state != 2) return {};
    return {{State::kWarning, "the daemon cannot sign orders: its start number is lost",
             "make the configuration folder writable, or use a new key; see man vm1905"}};
}

Findings checkStandardMode(Patient& patient) {
    if (patient.model.own.text("StandardMode") != "true") return {};
    Findings found;
    for (const ModelDevice& device : patient.model.devices) {
        if (device.text("StandardMode") != "false") continue;
        found.push_back({State::kWarning,
                         patient.session.called(device.alMac) + " is not in standard mode",
                         "set STANDARD_1905 = 1 there, too, or nowhere"});
    }
    return found;
}

Findings checkRegistrars(Patient& patient) {
    const std::string other = patient.model.trouble.empty() ? patient.session.otherRegistrar() : "";
    if (other.empty()) return {};
    return {{State::kWarning, "there is a second Registrar: " + other,
             "start one of the two with -x 1"}};
}

Findings checkClock(Patient& /*patient*/) {
    const std::time_t now = std::time(nullptr);
    if (now >= kYear2020) return {};
    return {{State::kWarning, "the clock says " + textOf(Json(now), Unit::kTime),
             "set it, as with NTP; until then the times of logs are wrong"}};
}

Findings checkMemory(Patient& /*patient*/) {
    std::ifstream file("/proc/meminfo");
    std::string key;
    uint64_t available = 0;
    while (file >> key && key != "MemAvailable:") file.ignore(256, '\n');
    if (!(file >> available) || available >= kLeastMemory) return {};
    return {{State::kWarning, "only " + std::to_string(available) + " kB of memory are free",
             "see which process uses it: top"}};
}

constexpr struct {
    const char* name;
    bool needsDaemon;
    Findings (*look)(Patient& patient);
} kChecks[] = {
    {"daemon", false, checkDaemon},
    {"second daemon", false, checkSecondDaemon},
    {"rights", true, checkRights},
    {"ports", true, checkPorts},
    {"links", true, checkCarrier},
    {"bridges", true, checkBridges},
    {"sockets", true, checkSockets},
    {"data model", true, checkModel},
    {"control files", false, checkControlFiles},
    {"configuration", false, checkConfiguration},
    {"mesh key", true, checkMeshKey},
    {"standard mode", true, checkStandardMode},
    {"Registrars", true, checkRegistrars},
    {"clock", false, checkClock},
    {"memory", false, checkMemory},
};

Json stateWord(State state) {
    return wordOf({"fine", "warning", "broken"}, static_cast<size_t>(state));
}

struct Row {
    const char* check;
    Finding finding;
};

constexpr Column<Row> kColumns[] = {
    {"check", "CHECK", [](const Row& r) { return Json(r.check); }},
    {"state", "STATE", [](const Row& r) { return stateWord(r.finding.state); }},
    {"finding", "FINDING", [](const Row& r) { return known(r.finding.text); }},
    {"remedy", "REMEDY", [](const Row& r) { return known(r.finding.remedy); }},
};

constexpr Column<State> kWhole[] = {
    {"state", "State", [](const State& state) { return stateWord(state); }},
};

void readFlags(Patient& patient) {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) return;
    std::set<std::string> names;
    for (const ModelInterface& intf : patient.model.own.interfaces) names.insert(intf.name);
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        if (names.contains(each->ifa_name)) patient.flags[each->ifa_name] = each->ifa_flags;
    }
    freeifaddrs(all);
}

}  // namespace

Report showDoctor(Session& session) {
    Patient patient{session};
    patient.daemons = daemonProcesses();
    try {
        patient.al = session.ownRecord();
        const std::string& given = session.options().dataModel;
        patient.modelPath = given.empty() ? dataModelPath() : given;
        patient.model = readDataModel(patient.modelPath);
        readFlags(patient);
    } catch (const Failure& failure) {
        patient.trouble = failure;
    }
    std::vector<Row> rows;
    State worst = State::kFine;
    for (const auto& [name, needsDaemon, look] : kChecks) {
        if (needsDaemon && patient.trouble.status != kDone) continue;
        Findings found;
        try {
            found = look(patient);
        } catch (const Failure& failure) {
            found = {{State::kBroken, failure.text, failure.advice}};
        }
        if (found.empty()) found.push_back({State::kFine, "", ""});
        for (Finding& finding : found) {
            worst = std::max(worst, finding.state);
            rows.push_back({name, std::move(finding)});
        }
    }
    return {{recordOf("", "", kWhole, worst), listOf("checks", "", kColumns, rows, "")},
            static_cast<int>(worst)};
}
