#include "wire/vend_payloads.h"

VendPayload::VendPayload() = default;
VendPayload::VendPayload(VendPayload&& other) noexcept = default;
VendPayload::~VendPayload() = default;
