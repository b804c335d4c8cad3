#include "publish/labels.h"

#include <algorithm>
#include <array>

#include "db/media_type.h"
#include "db/records.h"
#include "platform/autoconfig.h"

namespace {

// The label at this index, other if there is none.
template <size_t N>
std::string_view labelOf(const std::array<std::string_view, N>& labels, uint32_t number,
                         std::string_view other = "Unknown") {
    return number < N && !labels[number].empty() ? labels[number] : other;
}

bool isAnyOf(std::string_view text, const std::array<std::string_view, 3>& list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

std::string_view highBandLabel(uint32_t mediaType) {
    switch (mediaType) {
        case 0x0102:
            return "IEEE 802.11a(IEEE 802.11a (5GHz_H))";
        case 0x0104:
            return "IEEE 802.11n 5.0(IEEE 802.11n (5GHz_H))";
        case 0x0105:
            return "IEEE 802.11ac(IEEE 802.11ac (5GHz_H))";
        default:
            return mediaTypeLabel(mediaType);
    }
}

bool isHighBand(std::string_view connType) {
    static constexpr std::array<std::string_view, 3> kConnTypes{"Main_5GH", "Guest_5GH", "Mesh_5G"};
    return isAnyOf(connType, kConnTypes);
}

}  // namespace

std::string_view alStatusLabel(uint32_t status) {
    // Meant: "UP", not "Up".
    static constexpr std::array<std::string_view, 7> kLabels{
        "UP", "Down", "", "Dormant", "NotPresent", "LowerLayerDown", "Error"};
    return labelOf(kLabels, status);
}

std::string_view firmwareStateLabel(uint32_t state) {
    static constexpr std::array<std::string_view, 6> kLabels{"Failed",  "Idle",       "Busy",
                                                             "Upgrade", "Upgrade_EX", "Reboot"};
    return labelOf(kLabels, state);
}

const char* roleLabel(uint8_t role) {
    return role == PLATFORM_REGISTRAR ? "Registrar" : "Enrollee";
}

std::string_view configureLabel(uint32_t configure) {
    static constexpr std::array<std::string_view, 3> kLabels{"", "Configure", "Not_configure"};
    return labelOf(kLabels, configure);
}

std::string_view pwrStateLabel(uint32_t state) {
    // Meant: "Unspported".
    static constexpr std::array<std::string_view, 4> kLabels{"On", "Power_Save", "Off",
                                                             "Unspported"};
    return labelOf(kLabels, state);
}

std::string_view topolStatusLabel(uint32_t status) {
    static constexpr std::array<std::string_view, 3> kLabels{"Incomplete", "Available",
                                                             "Error_Misconfigured"};
    return labelOf(kLabels, status);
}

std::string_view setupMethodLabel(uint32_t mode) {
    static constexpr std::array<std::string_view, 3> kLabels{"UCPK", "PBC", "NFCNK"};
    return labelOf(kLabels, mode);
}

std::string_view changeEventLabel(uint32_t event) {
    static constexpr std::array<std::string_view, 2> kLabels{"NewNeighbor", "LostNeighbor"};
    return labelOf(kLabels, event, "");
}

std::string_view changeNbrTypeLabel(uint32_t type) {
    static constexpr std::array<std::string_view, 2> kLabels{"IEEE1905", "Non-IEEE1905"};
    return labelOf(kLabels, type);
}

std::string_view intfMediaLabel(uint32_t mediaType, std::string_view intfName) {
    static constexpr std::array<std::string_view, 3> kHigh{"wlan1", "wlan1-va0", "wlan1-msh0"};
    return isAnyOf(intfName, kHigh) ? highBandLabel(mediaType) : mediaTypeLabel(mediaType);
}

std::string_view non1905NbrMediaLabel(uint32_t mediaType, std::string_view connType) {
    if (!isHighBand(connType)) return mediaTypeLabel(mediaType);
    // Meant: no blank before the inner parenthesis, here alone.
    if (mediaType == 0x0104) return "IEEE 802.11n 5.0(IEEE 802.11n(5GHz_H))";
    return highBandLabel(mediaType);
}

std::string_view ieee1905NbrMediaLabel(uint32_t mediaType, std::string_view connType) {
    if (!isHighBand(connType)) return mediaTypeLabel(mediaType);
    // Meant: "802.11a" outside and "802.11ac" inside, here alone.
    if (mediaType == 0x0105) return "IEEE 802.11a(IEEE 802.11ac (5GHz_H))";
    return highBandLabel(mediaType);
}
