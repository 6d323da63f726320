// The cameras, probes and tips: their lists, one packet an item, and which of them are in use.
#include <array>
#include <cstdint>
#include <vector>

#include "simulator/handlers.h"
#include "simulator/packets.h"
#include "simulator/probe.h"

namespace kestrine::simulator {
namespace {

template <class Item>
std::int32_t total(std::span<const Item> items) {
  return static_cast<std::int32_t>(items.size());
}

void get_cameras(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetCamerasRT> items;
  for (const MeasurementCamera& each : measurement_cameras()) {
    GetCamerasRT item;
    item.iTotalCameras = total(measurement_cameras());
    item.iInternalCameraId = each.id;
    item.lSerialNumber = each.serial_number;
    item.cameraType = each.type;
    set_text(item.cName, each.name);
    set_text(item.cComment, each.comment);
    items.push_back(item);
  }
  reply.series(items);
}

void get_camera(Tracker&, const Request&, const Reply& reply) {
  GetCameraRT answer;
  answer.iInternalCameraId = kMountedCamera;
  answer.bMeasurementCameraIsMounted = 1;
  reply.record(answer);
}

void get_camera_info(Tracker& tracker, const Request&, const Reply& reply) {
  const MeasurementCamera& camera = *find_item(measurement_cameras(), kMountedCamera);
  GetMeasurementCameraInfoRT answer;
  answer.iFirmwareMajorVersionNumber = 2;
  answer.iFirmwareMinorVersionNumber = 4;
  answer.lSerialNumber = camera.serial_number;
  answer.cameraType = camera.type;
  set_text(answer.cName, camera.name);
  answer.lCompensationIdNumber = tracker.settings().integer(VL_C_SetVizetToTrackerCompensation, 0);
  answer.lZoomSerialNumber = camera.serial_number + 1;
  answer.lZoomAdjustmentIdNumber = 1;
  answer.lZoom2DCompensationIdNumber = 1;
  answer.lZoomProjCenterCompIdNumber = 1;
  answer.dMaxDistance = kFarthestProbe;
  answer.dMinDistance = 1.5;
  answer.lNrOfPixelsX = 1280;
  answer.lNrOfPixelsY = 1024;
  answer.dPixelSizeX = 6.7e-6;
  answer.dPixelSizeY = 6.7e-6;
  answer.lMaxDataRate = kProbeDataRate;
  reply.record(answer);
}

void get_camera_compensations(Tracker& tracker, const Request&, const Reply& reply) {
  const std::int32_t active = tracker.settings().integer(VL_C_SetVizetToTrackerCompensation, 0);
  std::vector<GetVizetToTrackerCompensationsRT> items;
  for (const CameraCompensation& each : camera_compensations()) {
    GetVizetToTrackerCompensationsRT item;
    item.iTotalCompensations = total(camera_compensations());
    item.iInternalVizetToTrackerCompensationId = each.id;
    item.iInternalTrackerCompensationId = each.tracker_compensation;
    item.iInternalCameraId = each.camera;
    item.bIsActive = each.id == active;
    item.lTrackerSerialNumber = kSerialNumber;
    set_text(item.cVizetToTrackerCompensationName, each.name);
    set_text(item.cVizetToTrackerCompensationComment, each.comment);
    items.push_back(item);
  }
  reply.series(items);
}

void set_camera_compensation(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!find_item(camera_compensations(), request.integer("vizetToTrackerCompensationID")))
    return reply.status(VL_RS_NoSuchCompensation);
  tracker.change_setting(*find_setting(VL_C_SetVizetToTrackerCompensation), request, reply);
}

void get_probes(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetProbesRT> items;
  for (const Probe& each : probes()) {
    GetProbesRT item;
    item.iTotalProbes = total(probes());
    item.iInternalProbeId = each.id;
    item.lSerialNumber = each.serial_number;
    item.probeType = each.type;
    item.iNumberOfFields = each.fields;
    set_text(item.cName, each.name);
    set_text(item.cComment, each.comment);
    items.push_back(item);
  }
  reply.series(items);
}

void get_probe(Tracker& tracker, const Request&, const Reply& reply) {
  GetProbeRT answer;
  answer.iInternalProbeId = probe_tools(tracker).probe->id;
  reply.record(answer);
}

void get_probe_info(Tracker& tracker, const Request&, const Reply& reply) {
  const ProbeTools tools = probe_tools(tracker);
  GetMeasurementProbeInfoRT answer;
  answer.iFirmwareMajorVersionNumber = 1;
  answer.iFirmwareMinorVersionNumber = 9;
  answer.lSerialNumber = tools.probe->serial_number;
  answer.probeType = tools.probe->type;
  answer.lCompensationIdNumber = tools.compensation->id;
  answer.lActiveField = tools.compensation->field;
  answer.connectionType = VL_PCT_IRLaser;
  answer.lNumberOfTipAdapters = 1;
  answer.probeButtonType = VL_PBT_4Button;
  answer.lNumberOfFields = tools.probe->fields;
  answer.lNumberOfTipDataSets = total(tip_adapters());
  answer.lNumberOfMelodies = 4;
  answer.lNumberOfLoudnesSteps = 3;
  reply.record(answer);
}

void get_probe_compensations(Tracker& tracker, const Request&, const Reply& reply) {
  const std::int32_t active = tracker.settings().integer(VL_C_SetProbeCompensation, 0);
  std::vector<GetProbeCompensationsRT> items;
  for (const ProbeCompensation& each : probe_compensations()) {
    GetProbeCompensationsRT item;
    item.iTotalCompensations = total(probe_compensations());
    item.iInternalProbeCompensationId = each.id;
    item.iInternalProbeId = each.probe;
    item.iFieldNumber = each.field;
    item.bIsActive = each.id == active;
    set_text(item.cProbeCompensationName, each.name);
    set_text(item.cProbeCompensationComment, each.comment);
    items.push_back(item);
  }
  reply.series(items);
}

// Tells what else follows from another probe or another tip.
void announce_changes(Tracker& tracker, const ProbeTools& before) {
  const ProbeTools now = probe_tools(tracker);
  if (now.probe != before.probe) tracker.announce(VL_SSC_ProbeChanged);
  if (now.tip != before.tip) tracker.announce(VL_SSC_TipChanged);
  if (now.tip_compensation != before.tip_compensation) tracker.announce(VL_SSC_TipToProbeCompensationChanged);
}

void set_probe_compensation(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!find_item(probe_compensations(), request.integer("probeCompensationID")))
    return reply.status(VL_RS_NoSuchCompensation);
  const ProbeTools before = probe_tools(tracker);
  tracker.change_setting(*find_setting(VL_C_SetProbeCompensation), request, reply);
  announce_changes(tracker, before);
}

void get_tip_adapters(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetTipAdaptersRT> items;
  for (const TipAdapter& each : tip_adapters()) {
    GetTipAdaptersRT item;
    item.iTotalTipAdapters = total(tip_adapters());
    item.iInternalTipAdapterId = each.id;
    item.lAssemblyId = each.assembly;
    item.lSerialNumberLowPart = each.serial_number;
    item.tipType = each.type;
    item.dRadius = each.radius;
    item.dLength = each.length;
    set_text(item.cName, each.name);
    set_text(item.cComment, each.comment);
    items.push_back(item);
  }
  reply.series(items);
}

void get_tip_adapter(Tracker& tracker, const Request&, const Reply& reply) {
  GetTipAdapterRT answer;
  answer.iInternalTipAdapterId = tracker.state().tip_adapter;
  answer.iTipAdapterInterface = kTipInterface;
  reply.record(answer);
}

void set_tip_adapter(Tracker& tracker, const Request& request, const Reply& reply) {
  const std::int32_t id = request.integer("tipAdapterID");
  if (!find_item(tip_adapters(), id)) return reply.status(VL_RS_InvalidTipAdapter);
  const ProbeTools before = probe_tools(tracker);
  tracker.state().tip_adapter = id;
  reply.done();
  announce_changes(tracker, before);
}

// Both generations of the list have these fields.
template <class Item>
Item tip_compensation_item(const TipCompensation& each) {
  Item item;
  item.iTotalCompensations = total(tip_compensations());
  item.iInternalTipToProbeCompensationId = each.id;
  item.iInternalTipAdapterId = each.tip;
  item.iTipAdapterInterface = kTipInterface;
  item.iInternalProbeCompensationId = each.probe_compensation;
  set_text(item.cTipToProbeCompensationName, each.name);
  set_text(item.cTipToProbeCompensationComment, each.comment);
  return item;
}

void get_tip_compensations(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetTipToProbeCompensationsRT> items;
  for (const TipCompensation& each : tip_compensations())
    items.push_back(tip_compensation_item<GetTipToProbeCompensationsRT>(each));
  reply.series(items);
}

void get_tip_compensations2(Tracker&, const Request&, const Reply& reply) {
  std::vector<GetTipToProbeCompensations2RT> items;
  for (const TipCompensation& each : tip_compensations()) {
    auto item = tip_compensation_item<GetTipToProbeCompensations2RT>(each);
    item.compensationType = each.type;
    set_text(item.cShankCompensationName, each.shank_name);
    items.push_back(item);
  }
  reply.series(items);
}

// The one in use follows from the tip and from the probe's compensation; nobody sets it.
void get_tip_compensation(Tracker& tracker, const Request&, const Reply& reply) {
  const TipCompensation* in_use = probe_tools(tracker).tip_compensation;
  if (!in_use) return reply.status(VL_RS_NoMeasurementTipCompSet);
  GetTipToProbeCompensationRT answer;
  answer.iInternalTipToProbeCompensationId = in_use->id;
  reply.record(answer);
}

constexpr std::array kHandlers{
    Handler{VL_C_GetCameras, Needs::kNothing, get_cameras},
    Handler{VL_C_GetCamera, Needs::kNothing, get_camera},
    Handler{VL_C_GetMeasurementCameraInfo, Needs::kNothing, get_camera_info},
    Handler{VL_C_GetVizetToTrackerCompensations, Needs::kNothing, get_camera_compensations},
    Handler{VL_C_SetVizetToTrackerCompensation, Needs::kNothing, set_camera_compensation},
    Handler{VL_C_GetProbes, Needs::kNothing, get_probes},
    Handler{VL_C_GetProbe, Needs::kNothing, get_probe},
    Handler{VL_C_GetMeasurementProbeInfo, Needs::kNothing, get_probe_info},
    Handler{VL_C_GetProbeCompensations, Needs::kNothing, get_probe_compensations},
    Handler{VL_C_SetProbeCompensation, Needs::kNothing, set_probe_compensation},
    Handler{VL_C_GetTipAdapters, Needs::kNothing, get_tip_adapters},
    Handler{VL_C_GetTipAdapter, Needs::kNothing, get_tip_adapter},
    Handler{VL_C_SetTipAdapter, Needs::kNothing, set_tip_adapter},
    Handler{VL_C_GetTipToProbeCompensations, Needs::kNothing, get_tip_compensations},
    Handler{VL_C_GetTipToProbeCompensations2, Needs::kNothing, get_tip_compensations2},
    Handler{VL_C_GetTipToProbeCompensation, Needs::kNothing, get_tip_compensation},
};

}  // namespace

std::span<const Handler> probe_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
