// Assignment that returns whether the value changed.
#pragma once

// Stores value in field; true if field held another one.
template <typename Field, typename Value>
bool store(Field& field, const Value& value) {
    if (field == value) return false;
    field = value;
    return true;
}
