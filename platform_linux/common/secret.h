// Memory that held a secret.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>

// Overwrites bytes that nobody reads again, which a compiler may leave out of a plain memset.
inline void eraseSecret(std::span<uint8_t> bytes) {
    explicit_bzero(bytes.data(), bytes.size());
}
inline void eraseSecret(std::string& text) {
    explicit_bzero(text.data(), text.size());
}
