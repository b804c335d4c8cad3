// Records as words: null if the value is unknown, the number itself if it has no word.
#pragma once

#include <optional>

#include "mesh.h"
#include "report.h"

inline Json wordOf(std::initializer_list<const char*> words, size_t number) {
    const char* const word = number < words.size() ? *(words.begin() + number) : nullptr;
    return word == nullptr ? Json(number) : Json(word);
}

inline Json known(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

template <typename T>
Json known(const std::optional<T>& value) {
    return value ? Json(*value) : Json();
}

inline Json powerWord(const std::optional<uint8_t>& state) {
    return state ? wordOf({"on", "save", "off", "unsupported"}, *state) : Json();
}

// Of this device and of its interfaces.
inline Json statusWord(uint8_t status) {
    return wordOf({"up", "down", nullptr, "dormant", "not present", "lower layer down", "error"},
                  status);
}
// Of an interface that others use: empty if nothing is wrong with it.
inline Json troubleOf(const Interface* intf) {
    return intf != nullptr && intf->isDown() ? Json("port down") : Json();
}
inline Json topologyWord(uint8_t status) {
    return wordOf({"incomplete", "available", "misconfigured"}, status);
}
inline Json roleOf(const ModelDevice* device) {
    return device == nullptr ? Json() : known(device->text("DeviceType"));
}
