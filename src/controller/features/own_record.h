// What the checks of the own device have in common: ask the platform, compare with the own record,
// store what changed.
#pragma once

#include <algorithm>

#include "core/requests.h"
#include "core/result.h"
#include "core/text.h"
#include "topology/data_manager.h"

// A text in a field of the platform, also of one that is filled whole.
template <size_t N>
std::string_view textOf(const char (&field)[N]) {
    return {field, static_cast<size_t>(std::find(field, field + N, '\0') - field)};
}

// Stores value; true when it differed.
template <typename Value>
bool store(Value& field, const Value& value) {
    if (field == value) return false;
    field = value;
    return true;
}
template <size_t N>
bool storeText(Text<N>& field, std::string_view text) {
    return store(field, Text<N>(plainText(text, N - 1)));
}

// Asks the platform by get, which returns 0 on success, and hands the answer to
// apply(AlTable&, answer), which tells whether it changed the record; the data model is then
// rewritten in time. kOk, or kFailure when the platform does not tell: the record stays.
template <typename Answer, typename Apply>
int refreshOwnRecord(int (*get)(Answer*), Apply&& apply) {
    AlTable* al = getAlTable();
    Answer answer{};
    if (al == nullptr || get(&answer) != 0) return kFailure;
    return apply(*al, answer) ? requestUpdateDataModel(0) : kOk;
}

// The same for a text of the record's own size.
template <size_t N>
int refreshOwnText(int (*get)(char*), Text<N> DeviceInfo::*field) {
    AlTable* al = getAlTable();
    char text[N] = {};
    if (al == nullptr || get(text) != 0) return kFailure;
    return storeText(al->info.*field, textOf(text)) ? requestUpdateDataModel(0) : kOk;
}
