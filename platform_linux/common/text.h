// Small conversions between bytes, MAC addresses and text.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api.h"
#include "base/mac_addr.h"
#include "base/text.h"

namespace plat {

// "aa:bb:cc:dd:ee:ff"; all zero for a null address.
PLAT_API std::string macText(const uint8_t* mac);
// The address in such a text (also with '-'), or none.
PLAT_API std::optional<MacAddr> parseMac(std::string_view text);

// Two lower-case digits for each byte.
PLAT_API std::string hexText(std::span<const uint8_t> bytes);
// The bytes in such a text, white space apart; none when it holds anything else.
PLAT_API std::optional<std::vector<uint8_t>> parseHex(std::string_view text);

// The number in a text, decimal or 0x..., with nothing around it.
PLAT_API std::optional<uint32_t> parseNumber(std::string_view text);

PLAT_API std::string_view trim(std::string_view text);
// The n-th line (from 0) without its line end, empty when there is none.
PLAT_API std::string_view lineOf(std::string_view text, size_t n);
// Whether it is a letter, digit or one of . _ + -
PLAT_API bool isNameChar(char c);
// Whether the name can stand in a folder, in a URL and as an argument as it is: at most 200 such
// characters, the first neither . nor -.
PLAT_API bool isPlainName(std::string_view name);
// Copies a text into a buffer of that size, cut and terminated.
PLAT_API void copyText(char* buffer, size_t size, std::string_view text);
// The text, "" for a null pointer.
inline const char* orEmpty(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace plat
