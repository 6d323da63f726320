"""Pieces of the outline of the whole schema that nobody would guess, and that are kept on purpose."""

SURPRISES = [
    # Booleans that are sent, and names that differ from their fields'
    "GoPosition(val1 double@12/0 position; val2 double@20/0 position; val3 double@28/0 position; useADM bool@36/0)",
    "GetStationaryModeParams(out time long@16/0 milliseconds; out useADM bool@20/0)",
    "ClearCommandQueue(clearType VL_ClearCommandQueueType@12/0)",
    "put_UseIncreasedTimeouts(increased bool@0/0)",
    "GetSystemSoftwareVersion(out cSoftwareVersion text@16/32)",
    "GetCamera(out cameraID long@16/0; out isMeasCameraMounted bool@20/0)",
    "event 64 CameraData: cameraID long @16; isMeasurementCameraMounted bool @20",
    "ContinuousProbeDataGetHeaderInfo(data bytes@0/0; out numberOfResults long@12/0 count;",
    "out tipAdpaterID long@36/0; out tipAdapterInterafce long@40/0;",
    "async event 59 ProbesData: probeID long @20; serialNumber long @24; probeName text @36; "
    "probeType VL_ProbeType @28; iNumberOfFields long @32;",
    "sync event 13 ProbesData: probeID long @20; serialNumber long @24; probeName text @36; "
    "probeType VL_ProbeType @28; numberOfFields long @32;",
    # Records taken and given whole
    "GetSearchParamsEx(out data SearchParamsDataT@16/12)",
    "SetExternTriggerParamsEx(extTriggerPrams ExternTriggerParamsT@12/16)",
    "MeasureStationaryPoint2Ex(out result SingleMeasResult2T@0/204)",
    # What was asked for is not handed out again
    "GetLongSystemParameter(systemParam VL_SystemParameter@12/0; out parameter long@20/0)",
    "GetMeasurementStatusInfo(out measurementStatusInfo long@20/0)",
    "GetStillImage(imageFileType VL_StillImageFileType@12/0; out fileSize long@20/0; out fileData variant@24/0) "
    "waits: extended; reads: answer; family: still-image",
    # The flag stands before the values and is handed out behind them
    "MeasureStationaryPoint(out val1 double@20/0 position;",
    "out humidity double@148/0 humidity; out isTryMode bool@16/0) waits: measurement additional; measure time: True; "
    "reads: measurement; type: 2; mode: stationary point; for result: True; when good: True;",
    "MeasureStationaryProbeData(out triggerStatus VL_TriggerStatus@20/0;",
    "out isTryMode bool@16/0) waits: standard; measure time: True; reads: measurement; mode: stationary probe; "
    "for result: True; family: stationary-probe",
    "out isTryMode bool@16/0) waits: find; measure time: True; reads: measurement; type: 9; for result: True;",
    "event 6 CenterPointData: measMode VL_MeasMode @12; val1 double @20;",
    # Events
    "event 3 ContinuousPointMeasDataReady: resultsTotal long @12; bytesTotal long @0",
    "event 2 ReflectorsData: reflectorID long @20; reflectorName text @36; targetType VL_TargetType @24; "
    "surfaceOffset double @28; reflectorsTotal long @16",
    "event 45 StillImageDataReady: imageFileType VL_StillImageFileType @16; fileSize long @20; bytesTotal long @0",
    "event 90 ExceptionEvent: errorNumber long @-; errorText text @-",
    "event 77 MeasurementStatusInfoData: measurementStatusInfo long @20",
    # Four lists whose status is not looked at, and two answers that fire two events
    "answer 42 fires ReflectorsData - ReflectorsData\n",
    "answer 75 fires TransformedPointsData - TransformedPointsData\n",
    "answer 86 fires CompensationsData - CompensationsData\n",
    "answer 123 fires Compensations2Data - Compensations2Data\n",
    "answer 121 fires LongSystemParameterData SystemParameterData - tested\n",
    "answer 140 fires KorvInfoData Korv4xxInfoData - tested twice\n",
    # How long, and what for
    "Initialize() waits: tracker init; family: plain",
    "GetReflectors() family: send-only",
    "GetTransformedPoints() waits: standard; family: plain",
    "StartTiltraMeasurement(out tiltraStatus VL_TiltraStatus@12/0; out xTilt double@16/0 angle; "
    "out yTilt double@24/0 angle; out tiltraTemperature double@32/0 temperature) waits: standard; reads: tiltra;",
    "CallATRCompensation(atrModule VL_ATR_Module@12/0; ",
    "waits: ATR compensation;",
    "CheckBirdBath(out initialHzAngle double@16/0 angle;",
    "StopMove() waits: standard; speed: stop; family: move",
]
