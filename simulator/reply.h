// The answer to one command, given at once or later. A client that has gone meanwhile simply gets none.
#pragma once

#include <memory>
#include <vector>

#include "protocol/catalogue.h"
#include "simulator/frame.h"
#include "simulator/packets.h"

namespace kestrine::simulator {

class Reply {
 public:
  Reply(std::weak_ptr<Client> client, const protocol::CommandRow& row, const Frame& frame, VL_ResultStatus warning)
      : client_(std::move(client)), row_(&row), frame_(frame), success_(warning) {}

  std::shared_ptr<Client> client() const { return client_.lock(); }

  // The command's own record, all zero but for its head. A success is told with the warning that the parameters
  // have earned.
  void status(VL_ResultStatus status) const;
  void done() const { status(VL_RS_AllOK); }
  // A record in base units, told in the frame that was in force when the command came.
  template <class Record>
  void record(const Record& record) const;
  template <class Record>
  void series(const std::vector<Record>& records) const;
  // Records whose numbers are meant as they stand.
  template <class Record>
  void record_as_it_stands(const Record& record) const;
  template <class Record>
  void series_as_it_stands(const std::vector<Record>& records) const;
  // The bytes that follow the head, as they stand.
  void values(const Bytes& values) const;

 private:
  void send(Bytes packet, bool last) const;
  void convert_to_frame(Bytes& packet) const;

  std::weak_ptr<Client> client_;
  const protocol::CommandRow* row_;
  Frame frame_;
  VL_ResultStatus success_;
};

template <class Record>
void Reply::record_as_it_stands(const Record& record) const {
  send(packed(record), true);
}

template <class Record>
void Reply::series_as_it_stands(const std::vector<Record>& records) const {
  for (const Record& record : records) send(packed(record), &record == &records.back());
}

template <class Record>
void Reply::record(const Record& record) const {
  series(std::vector<Record>{record});
}

template <class Record>
void Reply::series(const std::vector<Record>& records) const {
  for (const Record& record : records) {
    Bytes packet = packed(record);
    convert_to_frame(packet);
    send(std::move(packet), &record == &records.back());
  }
}

}  // namespace kestrine::simulator
