// The enumerations of the protocol and of the library. All travel as 32-bit signed integers, and a
// value that is not listed is passed on as it is.
#pragma once

#include <cstdint>

enum VL_DataType : std::int32_t {
  VL_DT_Command = 0,
  VL_DT_Block = 3,
  VL_DT_Tilt = 6,
};

// The verdict.
enum VL_ResultStatus : std::int32_t {
  VL_RS_AllOK = 0,
  VL_RS_Busy = 5,
  VL_RS_AlsoBusy = 5,
};

// The commands of the server.
enum VL_Command : std::int32_t {
  VL_C_SetSpeed = 1,
  VL_C_GetSpeed = 2,
  VL_C_GetNames = 4,
  VL_C_ListNames = 4,
};
