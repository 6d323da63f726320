#include "client_test.h"

#include <algorithm>
#include <cstdio>

#include "kestrine/error.h"
#include "platform/test_clock.h"
#include "protocol/catalogue.h"
#include "random_packet.h"

namespace kestrine::test {
namespace {

std::string words(const VARIANT& value) {
  if (value.vt == VT_I4) return tell(value.lVal);
  if (value.vt == VT_R8) return tell(value.dblVal);
  if (value.vt == VT_BOOL) return tell_flag(value.boolVal);
  return value.vt == VT_BSTR ? tell_text({value.bstrVal, SysStringLen(value.bstrVal)}) : "?";
}

}  // namespace

HRESULT Listener::Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                         EXCEPINFO* exception, UINT* bad_argument) {
  EXPECT_TRUE(reserved == IID_NULL && locale == LOCALE_USER_DEFAULT && flags == DISPATCH_METHOD);
  EXPECT_TRUE(arguments->rgdispidNamedArgs == nullptr && arguments->cNamedArgs == 0);
  EXPECT_TRUE(result == nullptr && exception == nullptr && bad_argument == nullptr);
  const auto rows = events_ == DIID__ILTCommandSyncEvents ? protocol::sync_events() : protocol::async_events();
  std::string line = name_ + " " + rows[static_cast<std::size_t>(id) - 1].name;
  for (UINT i = arguments->cArgs; i > 0; --i) line.append(" ").append(words(arguments->rgvarg[i - 1]));
  lines_.push_back(line);
  const Pointer<IDispatch> keep(this);
  const auto running = handler;  // a handler may put another one in its place
  return running ? running(id) : S_OK;
}

ClientTest::ClientTest(const connection::Rules& rules)
    : process(rules), window_(platform::create_window(*this, u"client test")) {
  environment.set(u"NonblockingConnect", 0);  // a connect that takes no time on loopback
  set_timeout(u"StandardWaitTime", 4000);
}

ClientTest::~ClientTest() {
  EXPECT_TRUE(environment.message_boxes.empty());
  platform::destroy_window(window_);
  SetErrorInfo(0, nullptr);
}

void ClientTest::make(Objects objects) {
  connection = Pointer<Connect>::adopt(new Connect(keep_generation));
  if ((objects & kSync) != 0) {
    Pointer<IUnknown> object;
    ASSERT_EQ(connection->get_ILTCommandSync(object.put()), S_OK);
    commands = object.query<ILTCommandSync>();
    sync_listener = listen(*commands, DIID__ILTCommandSyncEvents, "sync");
  }
  if ((objects & kAsync) != 0) {
    Pointer<IUnknown> object;
    ASSERT_EQ(connection->get_ILTCommandAsync(object.put()), S_OK);
    async_commands = object.query<ILTCommandAsync>();
    async_listener = listen(*async_commands, DIID__ILTCommandAsyncEvents, "async");
  }
  outlive_the_suspicion();
}

void ClientTest::outlive_the_suspicion() {
  platform::advance_clock(std::chrono::milliseconds(100));
}

void ClientTest::connect() {
  BSTR address = SysAllocString(u"127.0.0.1");
  EXPECT_EQ(told(connection->ConnectEmbeddedSystem(address, peer.port())), "ok");
  SysFreeString(address);
  peer.accept();
}

Lines ClientTest::heard_in_time(std::size_t count) {
  EXPECT_TRUE(pump_until([&] { return lines_.size() >= count; })) << "of " << count << ": " << lines_.size();
  return heard();
}

Pointer<Listener> ClientTest::listen(IUnknown& source, const IID& events, const std::string& name) {
  auto listener = Pointer<Listener>::adopt(new Listener(events, name, lines_));
  Pointer<IConnectionPoint> point;
  ULONG cookie = 0;
  const auto container = Pointer<IUnknown>(&source).query<IConnectionPointContainer>();
  EXPECT_EQ(container->FindConnectionPoint(events, point.put()), S_OK);
  EXPECT_EQ(point->Advise(listener.get(), &cookie), S_OK);
  return listener;
}

void ClientTest::receive(const Bytes& packet) {
  connection->buffers().set_latest({});
  peer.send(packet);
  EXPECT_TRUE(pump_until([&] { return !connection || !connection->buffers().latest().empty(); }));
}

Bytes ClientTest::data() {
  VARIANT value;
  EXPECT_EQ(connection->GetData(&value), S_OK);
  EXPECT_EQ(value.vt, VT_ARRAY | VT_UI1);
  const auto* first = static_cast<const std::uint8_t*>(value.parray->pvData);
  const Bytes copy(first, first + value.parray->rgsabound[0].cElements);
  EXPECT_EQ(VariantClear(&value), S_OK);
  return copy;
}

void ClientTest::deliver(Bytes packet, int capacity, int received) {
  const auto buffer = connection->buffers().for_type(get_i32(packet, 4));
  std::copy(packet.begin(), packet.end(), buffer.bytes);
  generation.connection_events().on_packet(*connection,
                                           {buffer.bytes, capacity < 0 ? buffer.capacity : capacity,
                                            received < 0 ? static_cast<std::int32_t>(packet.size()) : received},
                                           generation.window());
}

void ClientTest::later(std::function<void()> task, int milliseconds) {
  const std::uint64_t id = next_task_++;
  tasks_[id] = std::move(task);
  if (milliseconds == 0) {
    platform::post_message(window_, platform::kTimerMessage, id, 0);
  } else {
    platform::set_timer(window_, id, static_cast<std::uint32_t>(milliseconds));
  }
}

std::int64_t ClientTest::on_message(const platform::Message& message) {
  platform::kill_timer(window_, message.wparam);
  const auto task = tasks_.extract(message.wparam);
  if (!task.empty()) task.mapped()();
  return 0;
}

std::string ClientTest::told(HRESULT result) {
  if (result == S_OK) return "ok";
  const Error error = take_error(result);
  char code[16];
  std::snprintf(code, sizeof code, "%X", static_cast<unsigned>(result));
  return std::string(code) + " " + std::to_string(error.number()) + " " + to_utf8(error.source()) + ": " + error.what();
}

std::vector<std::int32_t> ClientTest::sent(std::size_t offset) {
  const Bytes request = peer.receive_request();
  std::vector<std::int32_t> values;
  for (; offset + 4 <= request.size(); offset += 4) values.push_back(get_i32(request, offset));
  return values;
}

}  // namespace kestrine::test
