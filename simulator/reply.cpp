#include "simulator/reply.h"

#include <utility>

namespace kestrine::simulator {

void Reply::status(VL_ResultStatus status) const {
  const auto client = client_.lock();
  if (!client) return;
  client->send(answer_packet(VL_DT_Command, row_->code, status == VL_RS_AllOK ? success_ : status, row_->answer->size));
  client->answered();
}

void Reply::values(const Bytes& values) const {
  Bytes packet(RecordTraits<BasicCommandRT>::size);
  packet.insert(packet.end(), values.begin(), values.end());
  send(std::move(packet), true);
}

void Reply::convert_to_frame(Bytes& packet) const {
  convert(*row_->answer, packet.data(), Frame{}, frame_);
}

void Reply::send(Bytes packet, bool last) const {
  const auto client = client_.lock();
  if (!client) return;
  const Bytes head = answer_packet(VL_DT_Command, row_->code, success_, packet.size());
  std::copy_n(head.begin(), RecordTraits<BasicCommandRT>::size, packet.begin());
  client->send(std::move(packet));
  if (last) client->answered();
}

}  // namespace kestrine::simulator
