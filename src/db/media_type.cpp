#include "db/media_type.h"

#include <algorithm>
#include <array>

namespace {

struct MediaTypeLabel {
    uint32_t code;
    std::string_view label;
};

constexpr std::array<MediaTypeLabel, 14> kLabels{{
    {0x0000, "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"},
    {0x0001, "IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)"},
    {0x0100, "IEEE 802.11b(IEEE 802.11b (2.4GHz))"},
    {0x0101, "IEEE 802.11g(IEEE 802.11g (2.4GHz))"},
    {0x0102, "IEEE 802.11a(IEEE 802.11a (5GHz))"},
    {0x0103, "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"},
    {0x0104, "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"},
    {0x0105, "IEEE 802.11ac(IEEE 802.11ac (5GHz))"},
    {0x0106, "IEEE 802.11ad(IEEE 802.11ad (60GHz))"},
    {0x0107, "IEEE 802.11af (IEEE 802.11af)"},
    {0x0200, "IEEE 1901 Wavelet(IEEE 1901 Wavelet)"},
    {0x0201, "IEEE 1901 FFT(IEEE 1901 FFT)"},
    {0x0300, "MoCAv1.1(MoCAv1.1)"},
    {0x0301, "MoCAv2.0(MoCAv2.0)"},  // not a standard code
}};

constexpr bool byCode(const MediaTypeLabel& a, const MediaTypeLabel& b) {
    return a.code < b.code;
}
static_assert(std::is_sorted(kLabels.begin(), kLabels.end(), byCode));

}  // namespace

std::string_view mediaTypeLabel(uint32_t mediaType) {
    const auto it =
        std::lower_bound(kLabels.begin(), kLabels.end(), MediaTypeLabel{mediaType, ""}, byCode);
    return it != kLabels.end() && it->code == mediaType ? it->label : "Unknown";
}
