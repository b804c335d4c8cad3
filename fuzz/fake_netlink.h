// Answers the platform library's requests to the kernel from the input. Every request takes a
// length (2 bytes, big-endian) and that many bytes: netlink messages as the kernel sends them. It
// fails once the input has ended.
#pragma once

#include "base/bytes.h"

// The reader must live as long as requests are made.
void answerFrom(ByteReader& reader);
