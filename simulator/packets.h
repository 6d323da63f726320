// Putting packets together.
#pragma once

#include <string_view>

#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "simulator/outside.h"

namespace kestrine::simulator {

// A command's answer, or an error packet, of that many bytes: the frame is written, the rest is zero.
Bytes answer_packet(VL_DataType type, std::int32_t command, VL_ResultStatus status, std::size_t size);

// A data packet: header and status into the record's bytes.
void begin_data_packet(Bytes& packet, VL_DataType type, VL_ResultStatus status);

Bytes status_change_packet(VL_SystemStatusChange change);

template <class Record>
Bytes packed(const Record& record) {
  Bytes bytes(RecordTraits<Record>::size);
  write_record(record, bytes.data());
  return bytes;
}

// A text into a record's field, cut where the field ends; a zero always follows it.
template <std::size_t Units>
void set_text(char16_t (&field)[Units], std::u16string_view text) {
  for (std::size_t i = 0; i < Units; ++i) field[i] = i < text.size() && i + 1 < Units ? text[i] : u'\0';
}

}  // namespace kestrine::simulator
