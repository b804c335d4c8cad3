// What the checks of the own device have in common: ask the platform, compare with the own record,
// store what changed.
#pragma once

#include "base/result.h"
#include "base/store.h"
#include "base/text.h"
#include "db/data_model_update.h"
#include "db/database.h"

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
    return storeText(al->info.*field, fieldText(text)) ? requestUpdateDataModel(0) : kOk;
}
