// The request of an operation, from its row and its arguments.
#pragma once

#include "commands/argument.h"
#include "commands/drive_speeds.h"
#include "commands/method_rows.h"
#include "protocol/request.h"

namespace kestrine::commands {

protocol::Request build_request(const MethodRow& row, const Argument* arguments, const DriveSpeeds& stored);

}  // namespace kestrine::commands
