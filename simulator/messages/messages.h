// What goes to and fro between the tracker and its clients: packets, requests with their parameters in base units, and
// the replies to them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "kestrine/records.h"
#include "kestrine/wire.h"
#include "protocol/catalogue.h"
#include "simulator/messages/frame.h"

namespace kestrine::simulator {

using Bytes = std::vector<std::uint8_t>;

class Client {
 public:
  virtual ~Client() = default;
  virtual void send(Bytes packet) = 0;
  // Bytes handed to `send` that the client has not taken yet.
  virtual std::size_t backlog() const = 0;
  // The command in hand has got its last answer; the next may come.
  virtual void answered() = 0;
  virtual void close() = 0;  // after what was sent

  // Asked for with the system settings, by each client for itself.
  bool wants_status_changes = false;
  bool wants_positions = false;
};

// --- Packets.

// A command's answer, or an error packet, of that many bytes: the frame is written, the rest is zero.
Bytes answer_packet(VL_DataType type, std::int32_t command, VL_ResultStatus status, std::size_t size);
// An error that is the answer to no command, or to none that is known.
Bytes error_packet(std::int32_t command, VL_ResultStatus status);
// Header and status into the bytes of a data packet.
void begin_data_packet(Bytes& packet, VL_DataType type, std::int32_t status);

template <class Record>
Bytes packed(const Record& record) {
  Bytes bytes(RecordTraits<Record>::size);
  write_record(record, bytes.data());
  return bytes;
}

template <class Record>
Bytes data_packet(const Record& record, VL_DataType type, std::int32_t status = VL_RS_AllOK) {
  Bytes packet = packed(record);
  begin_data_packet(packet, type, status);
  return packet;
}

// The three values of a position, which most records call by these names.
template <class Record>
void set_values(Record& record, const Vector& values) {
  record.dVal1 = values.x();
  record.dVal2 = values.y();
  record.dVal3 = values.z();
}

// A text into a record's field, cut where the field ends; a zero always follows it.
template <std::size_t Units>
void set_text(char16_t (&field)[Units], std::u16string_view text) {
  for (std::size_t i = 0; i < Units; ++i) field[i] = i < text.size() && i + 1 < Units ? text[i] : u'\0';
}

// --- Parameters by the names that the tables give them, in base units.

class Request {
 public:
  // The packet has the row's size; the frame is the one in force.
  Request(const protocol::CommandRow& row, Bytes packet, const Frame& frame);

  const protocol::CommandRow& row() const { return row_; }
  VL_Command command() const { return static_cast<VL_Command>(row_.code); }
  const Frame& frame() const { return frame_; }
  std::span<const std::uint8_t> parameters() const { return std::span(packet_).subspan(12); }

  std::int32_t integer(std::string_view name) const;
  double number(std::string_view name) const;
  double angle(std::string_view name) const;
  double distance(std::string_view name) const;
  // The point of which the named parameter is the first of three values.
  Vector position(std::string_view first) const;
  // The three values as they stand.
  Vector triple(std::string_view first) const;

 private:
  const std::uint8_t* at(std::string_view name) const;

  const protocol::CommandRow& row_;
  Bytes packet_;
  Frame frame_;
};

// --- The answer to one command, given at once or later. A client that has gone meanwhile simply gets none.

class Reply {
 public:
  // A success carries the warning that the parameters have earned.
  Reply(std::weak_ptr<Client> client, const protocol::CommandRow& row, const Frame& frame, VL_ResultStatus warning)
      : client_(std::move(client)), row_(&row), frame_(frame), success_(warning) {}

  std::shared_ptr<Client> client() const { return client_.lock(); }

  // The command's own record, all zero but for its head.
  void status(VL_ResultStatus status) const;
  void done() const { status(VL_RS_AllOK); }
  // A record in base units, sent in the frame that was in force when the command came.
  template <class Record>
  void record(const Record& record) const {
    send({in_frame(packed(record))});
  }
  // A record whose numbers are meant as they stand.
  template <class Record>
  void record_as_it_stands(const Record& record) const {
    send({packed(record)});
  }
  // One packet an item; behind the head of each stands the total, which is written here.
  template <class Record>
  void series(const std::vector<Record>& items) const {
    std::vector<Bytes> packets;
    packets.reserve(items.size());
    for (const Record& item : items) packets.push_back(in_frame(packed(item)));
    send_series(std::move(packets));
  }
  template <class Record>
  void series_as_it_stands(const std::vector<Record>& items) const {
    std::vector<Bytes> packets;
    packets.reserve(items.size());
    for (const Record& item : items) packets.push_back(packed(item));
    send_series(std::move(packets));
  }
  // The bytes that follow the head, as they stand.
  void values(const Bytes& values) const;

 private:
  Bytes in_frame(Bytes packet) const;
  void send(std::vector<Bytes> packets) const;
  void send_series(std::vector<Bytes> packets) const;

  std::weak_ptr<Client> client_;
  const protocol::CommandRow* row_;
  Frame frame_;
  VL_ResultStatus success_;
};

}  // namespace kestrine::simulator
