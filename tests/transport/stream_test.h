// A connected client whose packets are written down on their way to the dispatcher.
#pragma once

#include <sys/ioctl.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "client_test.h"
#include "kestrine/host.h"

namespace kestrine::test {

// A packet whose every byte behind the header is known.
inline Bytes filled(std::int32_t size, std::int32_t type) {
  Bytes bytes = packet(size, type);
  for (std::size_t i = 8; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + 1);
  return bytes;
}

inline std::pair<Bytes, Bytes> cut(const Bytes& bytes, std::size_t at) {
  const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  return {Bytes(bytes.begin(), middle), Bytes(middle, bytes.end())};
}

class StreamTest : public ClientTest, private transport::PacketConsumer {
 protected:
  void start(Objects objects = kBoth) {
    ClientTest::start(objects);
    if (dispatcher_ == nullptr) dispatcher_ = generation.slots.dispatcher;
    generation.slots.dispatcher = this;
  }
  ~StreamTest() override { peer.close(); }

  bool arrives(std::size_t count) {
    return pump_until([&] { return packets.size() >= count; });
  }
  // Nothing that the peer has sent lies in the client's socket any more.
  bool takes_all() {
    return pump_until([&] {
      int count = 0;
      return ::ioctl(static_cast<int>(connection->socket), FIONREAD, &count) == 0 && count == 0;
    });
  }
  bool beeps(std::uint32_t hertz) {
    return pump_until([&] { return beeps_of(hertz) > 0; });
  }
  std::ptrdiff_t beeps_of(std::uint32_t hertz) const {
    return std::count_if(environment.beeps.begin(), environment.beeps.end(),
                         [&](const Environment::Beep& beep) { return beep.first == hertz; });
  }
  Bytes data() {
    VARIANT value;
    EXPECT_EQ(connection->GetData(&value), S_OK);
    EXPECT_EQ(value.vt, VT_ARRAY | VT_UI1);
    void* bytes = nullptr;
    EXPECT_EQ(SafeArrayAccessData(value.parray, &bytes), S_OK);
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    const Bytes copy(first, first + value.parray->rgsabound[0].cElements);
    SafeArrayUnaccessData(value.parray);
    EXPECT_EQ(VariantClear(&value), S_OK);
    return copy;
  }

  std::vector<Bytes> packets;

 private:
  void DispatchPacket(transport::CLTConnectBase& from, const std::uint8_t* bytes, std::int32_t room,
                      std::int32_t count) override {
    if (bytes != nullptr) packets.emplace_back(bytes, bytes + count);
    dispatcher_->DispatchPacket(from, bytes, room, count);
  }

  transport::PacketConsumer* dispatcher_ = nullptr;
};

}  // namespace kestrine::test
