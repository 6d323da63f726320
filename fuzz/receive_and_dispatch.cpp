// Feeds a stream of bytes, cut as the input says, to the packet reader, and what it makes of them to the dispatcher
// with subscribers on both event interfaces. The input is a row of chunks: a length byte (times 16 when its high
// bit is set), a byte that says what the application does meanwhile, then the bytes.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "connection/packet_reader.h"
#include "kestrine/events.h"
#include "kestrine/pointer.h"
#include "kestrine/subscription.h"
#include "objects/command_classes.h"
#include "objects/connect_class.h"
#include "objects/module.h"

namespace {

using kestrine::Pointer;

// Bytes arrive chunk by chunk, whenever the reader waits for more.
class ChunkSource final : public kestrine::connection::ByteSource {
 public:
  explicit ChunkSource(std::span<const std::uint8_t> input) : input_(input) { arrive(); }

  bool exhausted() const { return input_.empty() && readable_.empty(); }
  std::uint8_t action() const { return action_; }

  bool is_open() const override { return true; }
  int receive(void* into, int bytes, bool peek) override {
    if (readable_.empty()) {
      waiting_ = !input_.empty();
      return waiting_ ? -1 : 0;
    }
    const auto count = std::min(readable_.size(), static_cast<std::size_t>(bytes));
    std::copy_n(readable_.begin(), count, static_cast<std::uint8_t*>(into));
    if (!peek) readable_ = readable_.subspan(count);
    return static_cast<int>(count);
  }
  bool would_block() const override { return waiting_; }
  bool comes_later(int) override { return false; }
  bool nap(std::int32_t) override {
    arrive();
    return true;
  }
  void beep(std::uint32_t, std::uint32_t) override {}
  void trace(std::u16string_view, std::u16string_view) override {}

  // A chunk joins what is left of the one before it only when that has been read up.
  void arrive() {
    if (!readable_.empty() || input_.size() < 2) {
      if (input_.size() < 2) input_ = {};
      return;
    }
    std::size_t length = input_[0] & 0x7F;
    if ((input_[0] & 0x80) != 0) length *= 16;
    action_ = input_[1];
    input_ = input_.subspan(2);
    readable_ = input_.first(std::min(length, input_.size()));
    input_ = input_.subspan(readable_.size());
  }

 private:
  std::span<const std::uint8_t> input_;
  std::span<const std::uint8_t> readable_;
  std::uint8_t action_ = 0;
  bool waiting_ = false;
};

struct Client final : kestrine::connection::PacketConsumer {
  Client() {
    connection->get_ILTCommandSync(sync.put());
    connection->get_ILTCommandAsync(async.put());
    sync_events = {*sync, DIID__ILTCommandSyncEvents, *Pointer<kestrine::SyncEvents>::adopt(new kestrine::SyncEvents)};
    async_events = {*async, DIID__ILTCommandAsyncEvents,
                    *Pointer<kestrine::AsyncEvents>::adopt(new kestrine::AsyncEvents)};
  }

  void on_packet(const kestrine::connection::ReceivedPacket& packet) override {
    connection->events().on_packet(*connection, packet, 0);
  }
  void on_out_of_step() override { connection->events().on_out_of_step(); }

  kestrine::commands::SyncCommandObject& calls() {
    return static_cast<SyncObject&>(*classes.for_connection()->objects().sync());
  }

  using Connect = kestrine::objects::Connect<ILTConnect>;
  using SyncObject = kestrine::objects::CommandSync<ILTCommandSync, DIID__ILTCommandSyncEvents>;
  kestrine::dispatch::ProcessState process{kestrine::connection::kClassicRules};
  kestrine::objects::GenerationClasses classes{1, process};
  Pointer<Connect> connection = Pointer<Connect>::adopt(new Connect(classes.for_connection()));
  Pointer<IUnknown> sync;
  Pointer<IUnknown> async;
  kestrine::Subscription sync_events;
  kestrine::Subscription async_events;
};

// Switches that an application has, and a call that waits for some command.
void act(Client& client, std::uint8_t action) {
  client.connection->put_SupportLegacyStationaryMode(action & 1);
  client.connection->SelectNotificationMethod((action & 2) != 0 ? KR_NM_None : KR_NM_Event, 0, 0);
  client.connection->measurement().set_mode((action >> 2) & 7);
  if ((action & 0xE0) != 0) client.calls().begin_wait(action >> 5);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const client = [] {
    setenv("KESTRINE_PROFILE_DIR", "/nonexistent", 1);
    return new Client;
  }();
  ChunkSource source({data, size});
  kestrine::connection::PacketReader reader(source, *client);
  while (!source.exhausted()) {
    act(*client, source.action());
    reader.on_readable(client->connection->buffers());
    source.arrive();
    VARIANT bytes;
    VariantInit(&bytes);
    if (client->connection->GetData(&bytes) != S_OK) std::abort();
    VariantClear(&bytes);
  }
  client->calls().cancel_wait();
  client->calls().fire_deferred_events();
  client->connection->events().on_closed(*client->connection);
  return 0;
}
