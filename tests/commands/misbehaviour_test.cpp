// Calls among packets that nobody asked for and handlers that do whatever they like.
#include <algorithm>

#include "client_test.h"
#include "typed_call.h"

namespace kestrine::test {
namespace {

class Misbehaviour : public ClientTest, public testing::WithParamInterface<unsigned> {
 protected:
  Misbehaviour() {
    for (const protocol::WaitRow& wait : protocol::wait_classes()) set_timeout(wait.key, 3);
  }

  std::size_t choose(std::size_t count) { return random() % count; }

  Bytes any_packet() {
    constexpr std::int32_t kStatuses[] = {0, 0, 1, 11, 36, 703, 704};
    constexpr std::int32_t kChanges[] = {5, 17, 26, 99, 110, 997};
    const std::int32_t status = kStatuses[choose(std::size(kStatuses))];
    const auto command = static_cast<std::int32_t>(choose(147)) - 1;
    switch (choose(5)) {
      case 0:
        return status_change(kChanges[choose(std::size(kChanges))]);
      case 1:
        return answer(command, status, VL_DT_Error);
      case 2: {
        const auto type = static_cast<std::int32_t>(2 + choose(10));
        return random_packet(*protocol::find_packet(type)->record, type, random);
      }
      default: {
        const protocol::CommandRow* row = protocol::find_command(command);
        if (row == nullptr || row->answer == nullptr) return answer(command, status);
        Bytes bytes = random_packet(*row->answer, VL_DT_Command, random);
        put_i32(bytes, 8, command);
        put_i32(bytes, 12, status);
        // A picture of a random size would be refused before its call is finished.
        if (command == VL_C_GetStillImage) put_i32(bytes, 20, 4);
        return bytes;
      }
    }
  }

  HRESULT call(const SyncOperation& row) {
    connection->measurement().set_stationary_time(1);  // whatever a call before has set
    return row.call(*commands, random).result;
  }

  const SyncOperation& any_operation() { return sync_operations()[choose(sync_operations().size())]; }

  // At most one nested call at a time, or the test would go ever deeper.
  HRESULT misbehave(Pointer<Listener>& listener) {
    switch (choose(6)) {
      case 0:
        return E_FAIL;
      case 1:
        throw 1;
      case 2:
        if (!nested_) {
          nested_ = true;
          call(any_operation());
          nested_ = false;
        }
        return S_OK;
      case 3:
        listener->handler = {};
        return S_OK;
      case 4:
        if (choose(4) == 0) connection->DisconnectEmbeddedSystem();
        return S_OK;
      default:
        return S_OK;
    }
  }

  std::mt19937 random{GetParam()};

 private:
  bool nested_ = false;
};

TEST_P(Misbehaviour, NeverKeepsACallFromReturningOrTheNextFromSucceeding) {
  start(kBoth);
  for (int round = 0; round < 40; ++round) {
    for (auto* listener : {&sync_listener, &async_listener}) {
      (*listener)->handler = [this, listener](DISPID) { return misbehave(*listener); };
    }
    for (std::size_t count = choose(4); count > 0; --count) peer.send(any_packet());
    const SyncOperation& row = any_operation();
    const HRESULT result = call(row);
    EXPECT_TRUE(result == S_OK || result == S_FALSE || result == E_FAIL) << row.name << " " << result;
    EXPECT_FALSE(engine().is_answer_pending()) << row.name;
    sync_listener->handler = async_listener->handler = {};
    connection->DisconnectEmbeddedSystem();
    connect();
    heard();
    peer.send(answer(VL_C_Initialize, 0));
    EXPECT_EQ(told(commands->Initialize()), "ok") << row.name;
    // Changes held back by the calls before may be told around it.
    const Lines lines = heard();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "async CommandCompletedData 7"), 1) << row.name;
    ASSERT_FALSE(HasFailure());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, Misbehaviour, testing::Range(1u, 11u));

}  // namespace
}  // namespace kestrine::test
