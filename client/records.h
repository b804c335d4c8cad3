// Requests and answers, field by field at their offsets in the slots.
#pragma once

#include <cstring>

#include "exchange.h"

// The payload of a request. A value that does not fit makes it unusable instead of being cut off.
class Request {
  public:
    explicit Request(ServId service) : service_(service) {}

    Request& number(slots::Field field, uint32_t value);
    Request& number(slots::Field field, int32_t value) {
        return number(field, static_cast<uint32_t>(value));
    }
    Request& mac(slots::Field field, const vm1905_mac* value);
    Request& text(slots::Field field, const char* value);
    Request& bytes(size_t at, const void* value, size_t length);

    ServId service() const { return service_; }
    bool isUsable() const { return isUsable_; }
    Payload payload() const { return Payload(record_).subspan(slots::kPayload); }

  private:
    ServId service_;
    bool isUsable_ = true;
    std::array<uint8_t, slots::kReqSize> record_{};
};

// An answer. Any process may have written it: a count beyond its bounds makes it not sane.
class Answer {
  public:
    explicit Answer(const vm1905_answer& raw) : raw_(raw) {}

    template <typename T>
    void number(slots::Field field, T& out) {
        out = static_cast<T>(numberAt(field));
    }
    void mac(slots::Field field, vm1905_mac& out) { bytes(field.at, out.b, sizeof out.b); }
    void bytes(size_t at, void* out, size_t length);
    // A count that must not exceed the capacity.
    template <typename T>
    void count(slots::Field field, size_t capacity, T& out) {
        number(field, out);
        if (out > capacity) {
            out = 0;
            isSane_ = false;
        }
    }
    bool isSane() const { return isSane_; }

  private:
    uint32_t numberAt(slots::Field field);

    const vm1905_answer& raw_;
    bool isSane_ = true;
};

// Asks and waits for the answer: 0 if it carries data, else its code or an error.
[[nodiscard]] int askForData(vm1905_client* client, const Request& request, vm1905_answer& answer);
// The same for an answer that is a code or begins with one.
[[nodiscard]] int askForCode(vm1905_client* client, const Request& request);

// Asks for a record that decode(answer, record) takes from the answer. out is set on success only.
template <typename Record, typename Decode>
[[nodiscard]] int askForRecord(vm1905_client* client, const Request& request, Record* out,
                               Decode&& decode) {
    if (out == nullptr) return VM1905_BAD_ARGUMENT;
    vm1905_answer raw;
    if (const int result = askForData(client, request, raw); result != 0) return result;
    Answer answer(raw);
    Record record{};
    decode(answer, record);
    if (!answer.isSane()) return VM1905_BAD_ANSWER;
    *out = record;
    return 0;
}
