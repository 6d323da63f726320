// Lists, one packet an item. A list without items is one packet that says so with its status and a total of zero.
#include <array>
#include <cstdint>
#include <vector>

#include "simulator/handlers.h"
#include "simulator/inventory.h"
#include "simulator/packets.h"
#include "simulator/tracker.h"

namespace kestrine::simulator {
namespace {

void get_reflectors(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetReflectorsRT> items;
  for (const Reflector& each : reflectors()) {
    GetReflectorsRT item;
    item.iTotalReflectors = static_cast<std::int32_t>(reflectors().size());
    item.iInternalReflectorId = each.id;
    item.targetType = each.type;
    item.dSurfaceOffset = each.surface_offset;
    set_text(item.cReflectorName, each.name);
    items.push_back(item);
  }
  reply.series(items);
}

// Both generations of the list begin with the same fields.
template <class Item>
Item compensation_item(const Compensation& each) {
  Item item;
  item.iTotalCompensations = static_cast<std::int32_t>(compensations().size());
  item.iInternalCompensationId = each.id;
  set_text(item.cTrackerCompensationName, each.tracker_name);
  set_text(item.cTrackerCompensationComment, each.tracker_comment);
  set_text(item.cADMCompensationName, each.adm_name);
  item.bHasMeasurementCameraMounted = 1;
  return item;
}

void get_compensations(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetCompensationsRT> items;
  for (const Compensation& each : compensations()) items.push_back(compensation_item<GetCompensationsRT>(each));
  reply.series(items);
}

void get_compensations2(Tracker& tracker, const Request&, const Reply& reply) {
  const std::int32_t active = tracker.settings().integer(VL_C_SetCompensation, 0);
  std::vector<GetCompensations2RT> items;
  for (const Compensation& each : compensations()) {
    auto item = compensation_item<GetCompensations2RT>(each);
    set_text(item.cADMCompensationComment, each.adm_comment);
    item.bIsActive = each.id == active;
    items.push_back(item);
  }
  reply.series(items);
}

constexpr std::array kHandlers{
    Handler{VL_C_GetReflectors, Needs::kNothing, get_reflectors},
    Handler{VL_C_GetCompensations, Needs::kNothing, get_compensations},
    Handler{VL_C_GetCompensations2, Needs::kNothing, get_compensations2},
};

}  // namespace

std::span<const Handler> list_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
