// Setting a value of which somebody wants to know whether it changed.
#pragma once

// Stores value; true when the field held another one.
template <typename Field, typename Value>
bool store(Field& field, const Value& value) {
    if (field == value) return false;
    field = value;
    return true;
}
