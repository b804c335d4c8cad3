#include "records.h"

#include <algorithm>

namespace {

int ask(vm1905_client* client, const Request& request, vm1905_answer& answer) {
    if (client == nullptr || !request.isUsable()) return VM1905_BAD_ARGUMENT;
    const bool isFar = vm1905_is_for_neighbor(request.service()) != 0;
    const Payload payload = request.payload();
    return vm1905_call(client, request.service(), payload.data(), payload.size(),
                       isFar ? client->neighborMs : client->localMs, &answer);
}

uint8_t codeOf(const vm1905_answer& answer) {
    return answer.payload[slots::resp::kRetCode.at - slots::kPayload];
}

}  // namespace

Request& Request::number(slots::Field field, uint32_t value) {
    const auto half = static_cast<uint16_t>(value);
    const auto byte = static_cast<uint8_t>(value);
    switch (field.width) {
        case sizeof value:
            return bytes(field.at, &value, sizeof value);
        case sizeof half:
            return bytes(field.at, &half, sizeof half);
        default:
            return bytes(field.at, &byte, sizeof byte);
    }
}

Request& Request::mac(slots::Field field, const vm1905_mac* value) {
    return bytes(field.at, value != nullptr ? value->b : nullptr, sizeof value->b);
}

Request& Request::text(slots::Field field, const char* value) {
    const size_t length = value != nullptr ? strnlen(value, field.width + 1) : 0;
    if (value == nullptr || length > field.width) {
        isUsable_ = false;
        return *this;
    }
    return bytes(field.at, value, length);
}

Request& Request::bytes(size_t at, const void* value, size_t length) {
    if ((value == nullptr && length > 0) || at > record_.size() || length > record_.size() - at) {
        isUsable_ = false;
    } else if (length > 0) {
        std::memcpy(record_.data() + at, value, length);
    }
    return *this;
}

void Answer::bytes(size_t at, void* out, size_t length) {
    const size_t begin = at - slots::kPayload;
    if (begin > sizeof raw_.payload || length > sizeof raw_.payload - begin) {
        isSane_ = false;
    } else {
        std::memcpy(out, raw_.payload + begin, length);
    }
}

uint32_t Answer::numberAt(slots::Field field) {
    uint32_t word = 0;
    uint16_t half = 0;
    uint8_t byte = 0;
    switch (field.width) {
        case sizeof word:
            bytes(field.at, &word, sizeof word);
            return word;
        case sizeof half:
            bytes(field.at, &half, sizeof half);
            return half;
        default:
            bytes(field.at, &byte, sizeof byte);
            return byte;
    }
}

int askForData(vm1905_client* client, const Request& request, vm1905_answer& answer) {
    if (const int result = ask(client, request, answer); result != 0) return result;
    if (answer.id != VM1905_ANSWER_CODE) return 0;
    if (codeOf(answer) == 0) return VM1905_BAD_ANSWER;
    return codeOf(answer);
}

int askForCode(vm1905_client* client, const Request& request) {
    vm1905_answer answer;
    if (const int result = ask(client, request, answer); result != 0) return result;
    if (answer.id == VM1905_ANSWER_CODE) return codeOf(answer);
    // The id is 0 if the request never gets an answer.
    return answer.id == 0 ? 0 : answer.payload[slots::resp::kResult.at - slots::kPayload];
}
