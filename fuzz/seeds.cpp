// Writes what the targets begin with into a directory: the request, the answers and the errors of every command, every
// kind of packet, every member, and files.
#include <filesystem>
#include <fstream>

#include "protocol/codec.h"
#include "random_packet.h"

using namespace kestrine;
using namespace kestrine::test;

namespace {

std::uint8_t byte(std::size_t value) {
  return static_cast<std::uint8_t>(value);
}

void write(const Bytes& bytes) {
  static int written = 0;
  std::ofstream(std::to_string(++written)).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

// The targets take bytes from the front, and from the end an action, a number and the size, their high bytes first.
void write(const std::vector<Bytes>& steps, std::int32_t number) {
  Bytes bytes;
  Bytes numbers;
  for (const Bytes& each : steps) {
    bytes = bytes + each;
    const auto named = static_cast<std::size_t>(number);
    numbers = Bytes{byte(each.size()), byte(each.size() >> 8), byte(named), byte(named >> 8), 0x80} + numbers;
  }
  write(bytes + numbers);
}

// Numbers that differ, so that three requests tell three points.
Bytes request_of(std::int32_t command, int value) {
  const protocol::CommandRow& row = *protocol::find_command(command);
  protocol::Request request(command, row.request_size);
  double power = 1;
  for (const protocol::Value& each : row.parameters) {
    if (each.type == protocol::ValueType::kDouble) request.put_double(each.offset, std::exchange(power, power * value));
    if (each.type != protocol::ValueType::kDouble) request.put_int32(each.offset, value);
  }
  return {request.bytes.begin(), request.bytes.begin() + request.size};
}

}  // namespace

int main(int, char** arguments) {
  std::filesystem::current_path(arguments[1]);
  std::mt19937 random(1);
  const Bytes initialise = request_of(VL_C_Initialize, 0);
  std::vector<Bytes> fit = {initialise};
  for (const int value : {0, 1, 150}) {
    for (const auto add : {VL_C_AddTransformationNominalPoint, VL_C_AddTransformationActualPoint}) {
      fit.push_back(request_of(add, value));
    }
    for (const protocol::CommandRow& row : protocol::commands()) {
      write({answer(row.code, value, VL_DT_Error)}, row.code);
      if (row.request_size != 0) write({initialise, request_of(row.code, value)}, 9000);
      if (row.answer == nullptr) continue;
      Bytes good = random_packet(*row.answer, VL_DT_Command, random);
      put_i32(good, 8, row.code);
      put_i32(good, 12, value);
      write({good}, row.code);
    }
  }
  fit.push_back(request_of(VL_C_CallTransformation, 0));
  write(fit, 9000);
  for (int mode = 0; mode < 12; ++mode) {
    write({initialise, request_of(VL_C_SetMeasurementMode, mode), request_of(VL_C_StartMeasurement, 0),
           request_of(VL_C_StopMeasurement, 0)},
          9000);
  }
  for (const protocol::PacketRow& row : protocol::packets()) {
    const protocol::Value& last = row.record->fields.back();
    Bytes bytes = random_packet(*row.record, row.type, random);
    put_i32(bytes, 8, 0);
    write({bytes}, 0);
    if (!protocol::is_element(last)) continue;
    bytes.resize(bytes.size() + 2u * last.named->size);
    put_i32(bytes, 0, static_cast<std::int32_t>(bytes.size()));
    put_i32(bytes, 12, 3);
    write({bytes}, 2);
  }
  // Members by their place, behind the object and the behaviour.
  for (std::size_t i = 0; i < 255 * 3 * 2; ++i) write(Bytes{byte(i % 255), byte(i / 255 % 3), byte(i / 255 / 3)});
  for (const std::string text :
       {"Settings\\ Other\\ [Settings]\nOther=1\n\n[S]\r\nA = 9", "A\\\\B\\ C\\ ;\n[A\\B]\n@=1\nC=x\n"}) {
    for (const Bytes& kind : {Bytes{0}, Bytes{1}}) write(Bytes(text.begin(), text.end()) + kind);
  }
}
