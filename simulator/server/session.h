// One connection: bounded reading of requests, their order, and a write queue of which is known how much waits in it.
#pragma once

#include <array>
#include <asio.hpp>
#include <deque>
#include <memory>

#include "simulator/messages/messages.h"

namespace kestrine::simulator {

class Tracker;

class Session : public Client, public std::enable_shared_from_this<Session> {
 public:
  Session(asio::ip::tcp::socket socket, Tracker& tracker);

  void start();

  void send(Bytes packet) override;
  std::size_t backlog() const override { return backlog_; }
  void answered() override;
  void close() override;

 private:
  void read_head();
  void read_rest(std::size_t size);
  void accept(Bytes packet);
  void next_command();
  void write();
  void written(const asio::error_code& error, std::size_t size);
  void give_up();

  asio::ip::tcp::socket socket_;
  Tracker& tracker_;
  Bytes incoming_;
  std::deque<Bytes> commands_;  // read, and not yet begun
  bool is_executing_ = false;
  bool is_reading_ = false;
  std::deque<Bytes> outgoing_;
  std::size_t backlog_ = 0;
  bool is_closing_ = false;
};

}  // namespace kestrine::simulator
