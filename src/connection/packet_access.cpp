#include "connection/packet_access.h"

#include <cstddef>

#include "connection/byte_arrays.h"
#include "connection/packet_reader.h"
#include "kestrine/continuous.h"
#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "protocol/codec.h"

namespace kestrine::connection {
namespace {

using Bytes = std::span<const std::uint8_t>;
using protocol::Error;

using PointLayout = ContinuousLayout<MultiMeasResultT>;
using Point2Layout = ContinuousLayout<MultiMeasResult2T>;
using ProbeLayout = ContinuousLayout<ProbeContinuousResultT>;

constexpr std::size_t kCommandOffset = offsetof(BasicCommandRT, command);
constexpr std::size_t kCountOffset = PointLayout::count;
static_assert(kCountOffset == ProbeLayout::count);

constexpr std::size_t kImageOffset = offsetof(GetStillImageRT, cFileStart);

struct Layout {
  std::size_t first;    // where the elements begin
  std::size_t element;  // 0: the accessor looks at the header only
};

static_assert(PointLayout::first == Point2Layout::first);

constexpr Layout layout_of(PacketAccessor accessor) {
  switch (accessor) {
    case PacketAccessor::kContinuousDataGetHeaderInfo:
      return {PointLayout::first, 0};
    case PacketAccessor::kContinuousProbeDataGetHeaderInfo:
      return {ProbeLayout::first, 0};
    case PacketAccessor::kContinuousPointGetAt:
      return {PointLayout::first, PointLayout::size};
    case PacketAccessor::kContinuousPoint2GetAt:
      return {Point2Layout::first, Point2Layout::size};
    case PacketAccessor::kContinuousProbeDataGetAt:
      return {ProbeLayout::first, ProbeLayout::size};
  }
  return {};
}

std::int32_t type_of(Bytes packet) {
  return wire::load_i32(packet.data() + kTypeOffset);
}

bool is_accepted(PacketAccessor accessor, Bytes packet) {
  const Layout layout = layout_of(accessor);
  if (packet.size() < layout.first) return false;
  const std::int32_t type = type_of(packet);
  if (layout.first == ProbeLayout::first) return type == ProbeLayout::type;
  return type == PointLayout::type || type == Point2Layout::type;
}

bool fits_statistic(PacketAccessor accessor, Bytes packet) {
  if (accessor == PacketAccessor::kContinuousPointGetAt) return type_of(packet) == PointLayout::type;
  if (accessor == PacketAccessor::kContinuousPoint2GetAt) return type_of(packet) == Point2Layout::type;
  return true;
}

}  // namespace

const Error* find_in_packet(PacketAccessor accessor, const VARIANT* data, std::int32_t index, bool any_statistic,
                            const std::uint8_t*& at) {
  const auto [first, element] = layout_of(accessor);
  const std::optional<Bytes> packet = bytes_of(data);
  if (!packet) return element == 0 ? &protocol::error::kHeaderNull : &protocol::error::kElementNull;
  if (!is_accepted(accessor, *packet))
    return element == 0 ? &protocol::error::kHeaderKind : &protocol::error::kElementKind;
  if (element == 0) {
    at = packet->data();
    return nullptr;
  }
  if (!any_statistic && !fits_statistic(accessor, *packet)) return &protocol::error::kStatisticMode;
  if (index < 0 || index >= wire::load_i32(packet->data() + kCountOffset)) return &protocol::error::kElementIndex;
  const std::size_t place = first + static_cast<std::size_t>(index) * element;
  if (place + element > packet->size())
    return &protocol::error::kElementIndex;  // the count promises more than there is
  at = packet->data() + place;
  return nullptr;
}

const Error* find_image(const VARIANT* packet, Bytes& file) {
  const std::optional<Bytes> bytes = bytes_of(packet);
  if (!bytes) return &protocol::error::kStillImageNull;
  if (bytes->size() < kImageOffset) return &protocol::error::kStillImageKind;
  // Any answer passes, and any packet with this command's number at its place: refused is only what is neither. Kept.
  if (type_of(*bytes) != VL_DT_Command && wire::load_i32(bytes->data() + kCommandOffset) != VL_C_GetStillImage) {
    return &protocol::error::kStillImageKind;
  }
  const auto image = protocol::counted_bytes(*bytes, kImageOffset);
  if (!image) return &protocol::error::kStillImageKind;
  file = *image;
  return nullptr;
}

}  // namespace kestrine::connection
