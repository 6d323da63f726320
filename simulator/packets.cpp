#include "simulator/packets.h"

namespace kestrine::simulator {
namespace {

void store_header(Bytes& packet, VL_DataType type) {
  wire::store_i32(packet.data(), static_cast<std::int32_t>(packet.size()));
  wire::store_i32(packet.data() + 4, type);
}

}  // namespace

Bytes answer_packet(VL_DataType type, std::int32_t command, VL_ResultStatus status, std::size_t size) {
  Bytes packet(size);
  store_header(packet, type);
  wire::store_i32(packet.data() + 8, command);
  wire::store_i32(packet.data() + 12, status);
  return packet;
}

void begin_data_packet(Bytes& packet, VL_DataType type, VL_ResultStatus status) {
  store_header(packet, type);
  wire::store_i32(packet.data() + 8, status);
}

Bytes status_change_packet(VL_SystemStatusChange change) {
  Bytes packet(RecordTraits<SystemStatusChangeT>::size);
  store_header(packet, VL_DT_SystemStatusChange);
  wire::store_i32(packet.data() + 8, change);
  return packet;
}

}  // namespace kestrine::simulator
