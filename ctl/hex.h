// Bytes as hexadecimal digits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Reads pairs of digits, with or without blanks, colons or dashes between the pairs. Empty if the
// text is anything else.
std::optional<std::string> parseHex(std::string_view text);

std::string hexOf(const uint8_t* data, size_t length);
