// What the functions of the scripted platform have in common: recording, answering, lists.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <type_traits>

#include "core/result.h"
#include "support/fake_platform.h"
#include "support/frames.h"

namespace fake {

template <typename T>
T* mallocZeroed() {
    auto* record = static_cast<T*>(calloc(1, sizeof(T)));
    if (record == nullptr) abort();
    return record;
}

// Appends to a malloc'ed list whose last link is at tail.
template <typename T>
T* append(T**& tail) {
    *tail = mallocZeroed<T>();
    T* added = *tail;
    tail = &added->next;
    return added;
}

inline std::string shown(const MacAddr& mac) {
    char text[18];
    snprintf(text, sizeof text, MAC_FMT, MAC_ARGS(mac));
    return text;
}
inline std::string shown(const uint8_t* mac) {
    return shown(MacAddr(mac));
}

template <typename T>
std::string shown(const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(value);
    } else {
        return value;
    }
}

inline int resultOf(const char* function) {
    const FakePlatform& p = fakePlatform();
    if (p.fail.empty() && p.results.empty()) return kOk;
    if (p.fail.contains(function)) return kFailure;
    const auto it = p.results.find(function);
    return it == p.results.end() ? kOk : it->second;
}

// Records an action and tells its scripted result.
template <typename... Args>
int act(const char* function, const Args&... args) {
    std::string call = function;
    ((call += ' ' + shown(args)), ...);
    fakePlatform().calls.push_back(std::move(call));
    if (fakePlatform().onAction) fakePlatform().onAction();
    return resultOf(function);
}

inline int fillText(const char* function, char* out, size_t size, const std::string& text) {
    if (const int result = resultOf(function)) return result;
    snprintf(out, size, "%s", text.c_str());
    return kOk;
}

template <typename T>
int fill(const char* function, T* out, const T& value) {
    if (const int result = resultOf(function)) return result;
    *out = value;
    return kOk;
}

// An action that is nothing but recorded: its parameters, and which of them are shown.
#define ACTS(function, parameters, ...)                   \
    int function parameters {                             \
        return act(#function __VA_OPT__(, ) __VA_ARGS__); \
    }

// Questions that are answered with a field as it stands.
#define ANSWERS_TEXT(function, size, field)                           \
    int function(char text[size]) {                                   \
        return fillText(#function, text, size, fakePlatform().field); \
    }
#define ANSWERS(function, type, field)                     \
    int function(type* out) {                              \
        return fill(#function, out, fakePlatform().field); \
    }

}  // namespace fake
