// Packets with something different in every field, and the one way to tell a field and a value that came of it.
#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "protocol/catalogue.h"
#include "scripted_peer.h"

namespace kestrine::test {

// As a Listener tells the arguments of events.
std::string tell(std::int32_t value);
std::string tell(double value);
std::string tell_flag(std::int16_t value);
std::string tell_text(std::u16string_view text);
std::string tell_bytes(std::span<const std::uint8_t> bytes);

// Whatever is put into a field: no zero, no number that a smaller type could hold, flags now and then beyond their
// low half.
std::int32_t random_long(std::mt19937& random);
double random_double(std::mt19937& random);
std::int32_t random_flag(std::mt19937& random);

// A packet of that record and type, random but for its header.
Bytes random_packet(const protocol::TypeRow& record, std::int32_t type, std::mt19937& random);
std::string tell_field(const protocol::Value& field, const Bytes& packet);

}  // namespace kestrine::test
