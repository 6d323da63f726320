// Finding records and elements in packets that callers hand in as arrays of bytes. Nothing a packet says of itself is
// believed: every place found lies whole inside its array.
#pragma once

#include <cstdint>
#include <span>

#include "connection/packet_accessors.h"
#include "kestrine/component.h"
#include "protocol/errors.h"

namespace kestrine::connection {

// Where the accessor finds its record or element. On failure `at` is left alone and the failure is returned.
// With `any_statistic` the two accessors of points take each other's packets, and still step by their own elements.
const protocol::Error* find_in_packet(PacketAccessor accessor, const VARIANT* data, std::int32_t index,
                                      bool any_statistic, const std::uint8_t*& at);

// The image file inside the answer to GetStillImage.
const protocol::Error* find_image(const VARIANT* packet, std::span<const std::uint8_t>& file);

}  // namespace kestrine::connection
