// The lists of what belongs to the tracker, one packet an item, and the choice of an item by its identifier.
#include "simulator/commands/commands.h"
#include "simulator/tracker/inventory.h"
#include "simulator/tracker/probe.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

void set_names(auto& record, const auto& item) {
  set_text(record.cName, item.name);
  set_text(record.cComment, item.comment);
}

void fill(GetReflectorsRT& record, const Reflector& item, const Tracker&) {
  record.iInternalReflectorId = item.id;
  record.targetType = item.type;
  record.dSurfaceOffset = item.surface_offset;
  set_text(record.cReflectorName, item.name);
}

// Both generations of the list begin with the same fields.
void fill(auto& record, const Compensation& item, const Tracker& tracker) {
  record.iInternalCompensationId = item.id;
  set_text(record.cTrackerCompensationName, item.tracker_name);
  set_text(record.cTrackerCompensationComment, item.tracker_comment);
  set_text(record.cADMCompensationName, item.adm_name);
  record.bHasMeasurementCameraMounted = 1;
  if constexpr (requires { record.bIsActive; }) {
    set_text(record.cADMCompensationComment, item.adm_comment);
    record.bIsActive = item.id == tracker.settings().integer(VL_C_SetCompensation, 0);
  }
}

void fill(GetCamerasRT& record, const MeasurementCamera& item, const Tracker&) {
  record.iInternalCameraId = item.id;
  record.lSerialNumber = item.serial_number;
  record.cameraType = item.type;
  set_names(record, item);
}

void fill(GetVizetToTrackerCompensationsRT& record, const CameraCompensation& item, const Tracker& tracker) {
  record.iInternalVizetToTrackerCompensationId = item.id;
  record.iInternalTrackerCompensationId = item.tracker_compensation;
  record.iInternalCameraId = item.camera;
  record.bIsActive = item.id == tracker.settings().integer(VL_C_SetVizetToTrackerCompensation, 0);
  record.lTrackerSerialNumber = kSerialNumber;
  set_text(record.cVizetToTrackerCompensationName, item.name);
  set_text(record.cVizetToTrackerCompensationComment, item.comment);
}

void fill(GetProbesRT& record, const Probe& item, const Tracker&) {
  record.iInternalProbeId = item.id;
  record.lSerialNumber = item.serial_number;
  record.probeType = item.type;
  record.iNumberOfFields = item.fields;
  set_names(record, item);
}

void fill(GetProbeCompensationsRT& record, const ProbeCompensation& item, const Tracker& tracker) {
  record.iInternalProbeCompensationId = item.id;
  record.iInternalProbeId = item.probe;
  record.iFieldNumber = item.field;
  record.bIsActive = item.id == tracker.settings().integer(VL_C_SetProbeCompensation, 0);
  set_text(record.cProbeCompensationName, item.name);
  set_text(record.cProbeCompensationComment, item.comment);
}

void fill(GetTipAdaptersRT& record, const TipAdapter& item, const Tracker&) {
  record.iInternalTipAdapterId = item.id;
  record.lAssemblyId = item.assembly;
  record.lSerialNumberLowPart = item.serial_number;
  record.tipType = item.type;
  record.dRadius = item.radius;
  record.dLength = item.length;
  set_names(record, item);
}

// Both generations of the list have the fields of the first.
void fill(auto& record, const TipCompensation& item, const Tracker&) {
  record.iInternalTipToProbeCompensationId = item.id;
  record.iInternalTipAdapterId = item.tip;
  record.iTipAdapterInterface = kTipInterface;
  record.iInternalProbeCompensationId = item.probe_compensation;
  set_text(record.cTipToProbeCompensationName, item.name);
  set_text(record.cTipToProbeCompensationComment, item.comment);
  if constexpr (requires { record.compensationType; }) {
    record.compensationType = item.type;
    set_text(record.cShankCompensationName, item.shank_name);
  }
}

template <class Record, const auto& kItems>
void list(Tracker& tracker, const Request&, const Reply& reply) {
  std::vector<Record> records;
  for (const auto& item : kItems) fill(records.emplace_back(), item, tracker);
  reply.series(records);
}

// Announces what else follows from another probe or another tip.
void announce_changes(Tracker& tracker, const ProbeTools& before) {
  const ProbeTools now = probe_tools(tracker);
  if (now.probe != before.probe) tracker.announce(VL_SSC_ProbeChanged);
  if (now.tip != before.tip) tracker.announce(VL_SSC_TipChanged);
  if (now.tip_compensation != before.tip_compensation) tracker.announce(VL_SSC_TipToProbeCompensationChanged);
}

// A setting whose one parameter is the identifier of an item.
template <const auto& kItems, VL_ResultStatus kNoSuchItem>
void choose(Tracker& tracker, const Request& request, const Reply& reply) {
  if (!find_item(kItems, wire::load_i32(request.parameters().data()))) return reply.status(kNoSuchItem);
  const ProbeTools before = probe_tools(tracker);
  tracker.change_setting(request, reply);
  announce_changes(tracker, before);
}

void set_tip_adapter(Tracker& tracker, const Request& request, const Reply& reply) {
  const std::int32_t id = request.integer("tipAdapterID");
  if (!find_item(kTipAdapters, id)) return reply.status(VL_RS_InvalidTipAdapter);
  const ProbeTools before = probe_tools(tracker);
  tracker.state().tip_adapter = id;
  reply.done();
  announce_changes(tracker, before);
}

void get_camera(Tracker&, const Request&, const Reply& reply) {
  reply.record(GetCameraRT{.iInternalCameraId = kMountedCamera, .bMeasurementCameraIsMounted = 1});
}

void get_camera_info(Tracker& tracker, const Request&, const Reply& reply) {
  const MeasurementCamera& camera = *find_item(kMeasurementCameras, kMountedCamera);
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

void get_probe(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(GetProbeRT{.iInternalProbeId = probe_tools(tracker).probe->id});
}

void get_probe_info(Tracker& tracker, const Request&, const Reply& reply) {
  const ProbeTools tools = probe_tools(tracker);
  reply.record(GetMeasurementProbeInfoRT{.iFirmwareMajorVersionNumber = 1,
                                         .iFirmwareMinorVersionNumber = 9,
                                         .lSerialNumber = tools.probe->serial_number,
                                         .probeType = tools.probe->type,
                                         .lCompensationIdNumber = tools.compensation->id,
                                         .lActiveField = tools.compensation->field,
                                         .connectionType = VL_PCT_IRLaser,
                                         .lNumberOfTipAdapters = 1,
                                         .probeButtonType = VL_PBT_4Button,
                                         .lNumberOfFields = tools.probe->fields,
                                         .lNumberOfTipDataSets = static_cast<std::int32_t>(kTipAdapters.size()),
                                         .lNumberOfMelodies = 4,
                                         .lNumberOfLoudnesSteps = 3});
}

void get_tip_adapter(Tracker& tracker, const Request&, const Reply& reply) {
  reply.record(
      GetTipAdapterRT{.iInternalTipAdapterId = tracker.state().tip_adapter, .iTipAdapterInterface = kTipInterface});
}

// The one in use follows from the tip and from the probe's compensation; nobody sets it.
void get_tip_compensation(Tracker& tracker, const Request&, const Reply& reply) {
  const TipCompensation* in_use = probe_tools(tracker).tip_compensation;
  if (!in_use) return reply.status(VL_RS_NoMeasurementTipCompSet);
  reply.record(GetTipToProbeCompensationRT{.iInternalTipToProbeCompensationId = in_use->id});
}

constexpr Handler kHandlers[]{
    {VL_C_GetReflectors, Needs::kNothing, list<GetReflectorsRT, kReflectors>},
    {VL_C_SetReflector, Needs::kNothing, choose<kReflectors, VL_RS_WrongParameter1>},
    {VL_C_GetCompensations, Needs::kNothing, list<GetCompensationsRT, kCompensations>},
    {VL_C_GetCompensations2, Needs::kNothing, list<GetCompensations2RT, kCompensations>},
    {VL_C_SetCompensation, Needs::kNothing, choose<kCompensations, VL_RS_NoSuchCompensation>},
    {VL_C_GetCameras, Needs::kNothing, list<GetCamerasRT, kMeasurementCameras>},
    {VL_C_GetCamera, Needs::kNothing, get_camera},
    {VL_C_GetMeasurementCameraInfo, Needs::kNothing, get_camera_info},
    {VL_C_GetVizetToTrackerCompensations, Needs::kNothing,
     list<GetVizetToTrackerCompensationsRT, kCameraCompensations>},
    {VL_C_SetVizetToTrackerCompensation, Needs::kNothing, choose<kCameraCompensations, VL_RS_NoSuchCompensation>},
    {VL_C_GetProbes, Needs::kNothing, list<GetProbesRT, kProbes>},
    {VL_C_GetProbe, Needs::kNothing, get_probe},
    {VL_C_GetMeasurementProbeInfo, Needs::kNothing, get_probe_info},
    {VL_C_GetProbeCompensations, Needs::kNothing, list<GetProbeCompensationsRT, kProbeCompensations>},
    {VL_C_SetProbeCompensation, Needs::kNothing, choose<kProbeCompensations, VL_RS_NoSuchCompensation>},
    {VL_C_GetTipAdapters, Needs::kNothing, list<GetTipAdaptersRT, kTipAdapters>},
    {VL_C_GetTipAdapter, Needs::kNothing, get_tip_adapter},
    {VL_C_SetTipAdapter, Needs::kNothing, set_tip_adapter},
    {VL_C_GetTipToProbeCompensations, Needs::kNothing, list<GetTipToProbeCompensationsRT, kTipCompensations>},
    {VL_C_GetTipToProbeCompensations2, Needs::kNothing, list<GetTipToProbeCompensations2RT, kTipCompensations>},
    {VL_C_GetTipToProbeCompensation, Needs::kNothing, get_tip_compensation},
};

}  // namespace

std::span<const Handler> list_handlers() {
  return kHandlers;
}

}  // namespace kestrine::simulator
