// What a server and the line to it can do to a client, at every stage of a connection, in the behaviour that the
// process has. A cell is a fault at a stage; it is told as one line of everything that the application gets, in order:
//   0 1 2 3     the packets, as their events tell them; the fault is at 1, and 3 is sent when the rest has come
//   =7 =36      what the waiting call comes to: its output, or the number of its failure (=late when its time is over);
//               then the next call, which the server answers with 8
//   !36         the event of that failure
//   lies        a block whose count is not that of its points
//   discard     the stream is out of step, and what can be read is thrown away
//   malformed   a packet of no known type
//   closed      the server has gone; always the end
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>

#include "environment.h"
#include "kestrine/kestrine.h"
#include "platform/clock.h"
#include "platform/test_clock.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

using namespace std::chrono_literals;

enum class When { kConnecting, kIdle, kWaitingCall, kStream, kList, kDisconnecting };

bool is_modern() {
  return host::behaviour() == host::Behaviour::kModern;
}

constexpr auto kTimeOfCall = 3'000ms;
constexpr auto kLongerThanACall = 4'000ms;
constexpr int kFirstChange = 25;  // of the three that no call holds back

struct Outcome {
  Outcome(const char* both) : Outcome(both, both) {}
  Outcome(const char* in_classic, const char* in_modern) : classic(in_classic), modern(in_modern) {}
  const char* classic;
  const char* modern;
};

class Recorder final : public SyncEvents {
 public:
  explicit Recorder(ILTConnect& connection) : connection_(connection) {}

  void StatusChangeEvent(VL_SystemStatusChange change) override {
    note(change == VL_SSC_ServerClosing ? "closed" : std::to_string(change % kFirstChange));
  }
  void ContinuousPointMeasDataReady(std::int32_t, std::int32_t) override {
    const Packet packet(connection_);
    const auto block = ContinuousView<MultiMeasResultT>::of(packet.bytes());
    note(block ? std::to_string((*block)[1].lTime1) : "lies");
  }
  void TransformedPointsData(double val1, double, double, double, double, double, double, double, double, double,
                             double, double, double, std::int32_t) override {
    note(std::to_string(static_cast<int>(val1)));
  }
  void ErrorEvent(VL_Command, VL_ResultStatus status) override { note(std::string("error") + std::to_string(status)); }
  void ExceptionEvent(std::int32_t number, BSTR) override { note(std::string("!") + std::to_string(number)); }

  // What comes many times in a row is told once, with its number.
  void note(const std::string& word) {
    times_ = word == last_ ? times_ + 1 : 1;
    if (times_ == 1) start_ = line.size() + (line.empty() ? 0 : 1);
    line.resize(start_, ' ');
    line += times_ == 1 ? word : word + "x" + std::to_string(times_);
    last_ = word;
  }
  void start_over() { line.clear(), last_.clear(); }

  std::string line;

 private:
  ILTConnect& connection_;
  std::string last_;
  std::size_t start_ = 0;  // of the last word
  int times_ = 0;
};

// What the server does, one letter after another; then what the application gets of it.
//   0 1 2  sends the packet        b  sends byte by byte           h r  sends packet 1 up to the place, and its rest
//   g      sends garbage for 1     s  sends a storm of changes     l    sends packet 1 with a lie in it
//   p P    pauses, for longer than a call may take                 | the client looks at what has been sent
//   R C H  resets, closes, closes for writing                      U the host gives up
struct Fault {
  const char* name;
  std::size_t from, to;  // places in packet 1 at which it happens, each in its turn
  const char* server;
  Outcome events;
  Outcome call;
  std::int32_t lie = 0;
  std::size_t lie_at = 0;
  std::map<When, Outcome> except = {};
};

constexpr std::size_t kEnd = 1'000;  // of packet 1
constexpr std::size_t kStorm = 10'000;
constexpr std::int32_t kHuge = 0x7FFFFFFF;
constexpr std::int32_t kTooSmall = -4;  // for the packet
constexpr std::size_t kType = 4;
constexpr std::size_t kCount = 12;  // of a block, so in a stream only
const Outcome kWhole = {"0 2 =7 3 =8", "0 =7 2 3 =8"};
const Outcome kLostHeader = "0 discard 3";
// In modern behaviour the next answer is taken for the one that was lost: until twice its time has passed, or a new
// connection.
const Outcome kLostAnswer = {"0 discard !36 =36 3 =8", "0 discard !36 =36 3 !36 =late"};
const Outcome kNoAnswer = {"0 malformed 2 !36 =36 3 =8", "0 malformed !36 =36 2 3 !36 =late"};
const Outcome kEndsInPacket = {"0 discard closed !36 =36", "0 discard !36 =36"};
// A header in more than two pieces is lost in classic behaviour, and the stream with it.
const Outcome kInBytes = {"0 discard", "0x2 1 2 3"};
const Outcome kAnswerInBytes = {"0 discard !36 =36", "0x2 =7 2 3 =8"};
// What the packet has not brought is as its buffer holds it, and what is left of it is no header.
const Outcome kTooShort = {"0 discard =0 3 =8", "0 =0 discard 3 =8"};
const std::map<When, Outcome> kTooShortElsewhere = {{When::kStream, "0 lies discard 3"},
                                                    {When::kList, "0 1 discard 3"}};
// In classic behaviour the thread waits for the rest, whatever a call's time.
const Outcome kNeverWhole = {"0 discard closed !36 =36", "0 !36 =late discard"};

const Fault kFaults[] = {
    {"Cut", 1, kEnd, "0h|r2", "0 1 2 3", kWhole},
    {"Dribble", 0, 1, "0b", kInBytes, kAnswerInBytes, 0, 0, {{When::kConnecting, "0x2 1 2 3"}}},
    {"Delay", 0, 1, "p0p1p2", "0 1 2 3", "0 =7 2 3 =8"},
    {"DelayBeyondTheCall", 0, 1, "0P12", "0 1 2 3", "0 !36 =late 2 3 =8"},
    {"Duplicate", 0, 1, "0112", "0 1x2 2 3", kWhole},
    {"Reorder", 0, 1, "021", "0 2 1 3", "0 2 =7 3 =8"},
    {"SizeTooSmall", 0, 1, "0l2", "0x2 discard 3", kTooShort, kTooSmall, 0, kTooShortElsewhere},
    {"SizeTooLarge", 0, 1, "0l2", "0 discard", kNeverWhole, 1'000},
    {"SizeBelowAHeader", 0, 1, "0l2", kLostHeader, kLostAnswer, 7},
    {"SizeNegative", 0, 1, "0l2", kLostHeader, kLostAnswer, -1},
    {"SizeHuge", 0, 1, "0l2", kLostHeader, kLostAnswer, kHuge},
    {"TypeNegative", 0, 1, "0l2", kLostHeader, kLostAnswer, -1, kType},
    {"TypeUnknown", 0, 1, "0l2", "0 malformed 2 3", kNoAnswer, 12, kType},
    {"CountTooLarge", 0, 1, "0l2", "0 lies 2 3", "", 3, kCount},
    {"CountNegative", 0, 1, "0l2", "0 lies 2 3", "", -1, kCount},
    {"CountHuge", 0, 1, "0l2", "0 lies 2 3", "", kHuge, kCount},
    {"Garbage", 0, 20, "0g2", kLostHeader, kLostAnswer},
    {"ResetInHeader", 0, 8, "0hR", "0", "0 closed !36 =36"},
    {"ResetInPacket", 8, kEnd, "0hR", "0 discard", kEndsInPacket},
    {"CloseInHeader", 0, 8, "0hC", "0", "0 closed !36 =36"},
    {"CloseInPacket", 8, kEnd, "0hC", "0 discard", kEndsInPacket},
    {"HalfClose", 0, 1, "0H", "0", "0 closed !36 =36"},
    {"Restart", 0, 1, "0C", "0", "0 closed !36 =36"},
    {"Silence", 0, 1, "0P2", "0 2 3", {"0 !36 =late 2 3 =8", "0 !36 =late 2 3 !36 =late"}},
    {"StallInHeader", 1, 8, "0hPr2", "0 1 2 3", "0 !36 =late 2 3 =8"},
    {"StallInPacket", 8, 10, "0hPr2", "0 1 2 3", {"0 2 =7 3 =8", "0 !36 =late 2 3 =8"}},
    {"StallUntilTheHostGivesUp", 8, 10, "0hU", "0 discard", {"0 discard !36 =36", "0 !36 =36 discard"}},
    // A call holds them back. What it does not hold back overtakes them, in classic behaviour.
    {"Storm", 0, 1, "0s12", "0 5x10000 1 2 3", {"0 2 =7 5x10000 3 =8", "0 =7 5x10000 2 3 =8"}},
};

using Step = std::function<void(ScriptedPeer&)>;

class FaultMatrix : public testing::TestWithParam<std::pair<Fault, When>> {
 protected:
  FaultMatrix() {
    environment.set(u"NonblockingConnect", 0);
    environment.set(u"StandardWaitTime", kTimeOfCall.count(), u"SyncCommandTimeouts");
    connection = create<ILTConnect>(CLSID_LTConnect);
    tracker = command_sync(*connection);
    platform::advance_clock(100ms);  // objects that go younger are taken for a mistake
    recorder = Pointer<Recorder>::adopt(new Recorder(*connection));
    subscription = Subscription(*tracker, DIID__ILTCommandSyncEvents, *recorder);
    host::set_beep_hook([this](std::uint32_t hertz, std::uint32_t) {
      if (hertz == 250 && !recorder->line.ends_with("discard")) recorder->note("discard");
      if (hertz == 4'000) recorder->note("malformed");
    });
    host::set_give_up_hook([this] {
      const bool is_over = steps.empty();
      return go_on(), is_over && gives_up;
    });
  }
  ~FaultMatrix() override { host::set_give_up_hook({}); }

  static Bytes reflector(std::int32_t id) { return answer_with(VL_C_GetReflector, id); }
  static Bytes numbered(When when, std::int32_t number) {
    if (when == When::kWaitingCall) return number == 1 ? reflector(7) : status_change(kFirstChange + number);
    if (when == When::kStream) {
      Bytes block = packet(48 + 2 * 36, VL_DT_MultiMeasResult);
      put_i32(block, 12, 2);
      put_i32(block, 48 + 36 + 4, number);
      return block;
    }
    if (when != When::kList) return status_change(number);
    Bytes item = packet(124, VL_DT_Command);
    put_i32(item, 8, VL_C_GetTransformedPoints);
    put_i32(item, 16, 3);
    put_f64(item, 20, number);
    return item;
  }

  HRESULT connect() { return connection->ConnectEmbeddedSystem(Text("127.0.0.1"), port); }

  // The server's next step. What nothing else ends, the server's going does.
  void go_on() {
    if (!steps.empty()) {
      const auto step = std::move(steps.front());
      steps.pop_front();
      step(*peer);
      last_step = platform::now();
    } else if (platform::now() - last_step > 2 * kTimeOfCall) {
      peer->close();
    }
  }
  void play() {
    for (; !steps.empty(); go_on()) host::run_for(1ms);
  }
  void play_until(const std::string& line) {
    pump_until([&] { return recorder->line == line || (go_on(), false); });
  }
  // The library's call, and the same with a server that answers.
  void call() {
    const auto begin = platform::now();
    std::int32_t id = -1;
    const HRESULT result = tracker->GetReflector(&id);
    EXPECT_LT(platform::now() - begin, is_modern() ? kLongerThanACall + 500ms : 20'000ms);
    if (result == S_OK) return recorder->note(std::string("=") + std::to_string(id));
    const Error error = take_error(result);
    EXPECT_TRUE(result == E_FAIL && error.source() == u"Kestrine.LTConnect.1") << error.what();
    const bool late = std::string(error.what()).find("timed out") != std::string::npos;
    recorder->note(late && error.number() == 36 ? "=late" : std::string("=") + std::to_string(error.number()));
  }
  void call_answered() {
    steps.emplace_back([](ScriptedPeer& server) { server.send(reflector(8)); });
    call();
  }
  void write_script(const Fault& fault, When when, std::size_t at);
  void run(const Fault& fault, When when, std::size_t at);

  Environment environment;
  std::optional<ScriptedPeer> peer{std::in_place};
  const std::uint16_t port = peer->port();
  Pointer<ILTConnect> connection;
  Pointer<ILTCommandSync> tracker;
  Pointer<Recorder> recorder;
  Subscription subscription;
  std::deque<Step> steps;  // of the server, one whenever the client waits
  bool gives_up = false;   // the host, after the last one
  platform::TimePoint last_step;
};

void FaultMatrix::write_script(const Fault& fault, When when, std::size_t at) {
  const Bytes zero = numbered(when, 0), one = numbered(when, 1), two = numbered(when, 2);
  const auto [head, rest] = cut(one, std::min(at, one.size()));
  Bytes lying = one, garbage;
  put_i32(lying, fault.lie_at, fault.lie == kTooSmall ? get_i32(one, 0) + kTooSmall : fault.lie);
  std::mt19937 random(static_cast<unsigned>(at));
  while (garbage.size() < one.size()) garbage.push_back(static_cast<std::uint8_t>(random()));
  static const Bytes storm = [](Bytes all) {
    while (all.size() < kStorm * 12) all = std::move(all) + status_change(5);
    return all;
  }({});
  const std::map<char, Bytes> pieces = {{'0', zero}, {'1', one},   {'2', two},     {'h', head},
                                        {'r', rest}, {'l', lying}, {'g', garbage}, {'s', storm}};
  const auto wait = [](auto time) { return [time](ScriptedPeer&) { platform::advance_clock(time); }; };
  const std::map<char, Step> doings = {{'p', wait(500ms)},          {'P', wait(kLongerThanACall)},
                                       {'|', [](ScriptedPeer&) {}}, {'R', &ScriptedPeer::reset},
                                       {'C', &ScriptedPeer::close}, {'H', &ScriptedPeer::half_close},
                                       {'U', [](ScriptedPeer&) {}}};
  Bytes next;
  const auto send = [&](const Bytes& bytes) {
    if (!bytes.empty()) steps.emplace_back([bytes](ScriptedPeer& server) { server.send(bytes); });
  };
  for (const char letter : std::string_view(fault.server)) {
    if (pieces.contains(letter)) next = next + pieces.at(letter);
    if (!doings.contains(letter)) continue;
    send(std::exchange(next, {}));
    steps.push_back(doings.at(letter));
  }
  send(next);
  if (fault.server == std::string_view("0b")) {
    for (const std::uint8_t each : zero + one + two) send({each});
  }
  gives_up = std::string_view(fault.server).ends_with('U');
}

void FaultMatrix::run(const Fault& fault, When when, std::size_t at) {
  write_script(fault, when, at);
  const auto except = fault.except.find(when);
  const Outcome& outcome = except != fault.except.end() ? except->second
                           : when == When::kWaitingCall ? fault.call
                                                        : fault.events;
  std::string expected = is_modern() ? outcome.modern : outcome.classic;
  if (when == When::kDisconnecting) expected = "0";
  recorder->start_over();
  last_step = platform::now();

  if (when == When::kConnecting) {
    // All of it may come before the client has so much as returned.
    peer->run([this](ScriptedPeer& server) {
      server.accept();
      for (const auto& step : std::exchange(steps, {})) step(server);
    });
  }
  const HRESULT made = connect();
  when == When::kConnecting ? peer->finish() : peer->accept();
  EXPECT_TRUE(made == S_OK || (when == When::kConnecting && fault.name[0] == 'R')) << take_error(made).what();
  if (made != S_OK) return;  // reset before it had returned
  if (when == When::kWaitingCall) call();
  EXPECT_EQ(when == When::kList ? tracker->GetTransformedPoints() : S_OK, S_OK);
  if (when == When::kDisconnecting) {
    const auto all = std::exchange(steps, {});
    peer->send(status_change(0));
    play_until(expected);
    for (const auto& step : all) step(*peer);
  } else {
    play();
    if (const std::size_t last = expected.find(" 3"); last != std::string::npos) {
      play_until(expected.substr(0, last));
      peer->send(numbered(when, 3));
      play_until(expected.substr(0, last + 2));
      if (when == When::kWaitingCall) call_answered();
    }
    peer->close();
    if (expected.find("closed") == std::string::npos) expected += " closed";
    play_until(expected);
  }
  EXPECT_EQ(connection->DisconnectEmbeddedSystem(), S_OK);
  host::run_for(1ms);
  EXPECT_EQ(recorder->line, expected) << "at " << at;
}

TEST_P(FaultMatrix, Cell) {
  const auto& [fault, when] = GetParam();
  const platform::ShortWaits short_waits(100us);
  const std::size_t end = std::min(fault.to, fault.to == kEnd ? numbered(when, 1).size() : fault.to);
  for (std::size_t at = fault.from; at < end && !HasFailure(); ++at) run(fault, when, at);
  if (fault.name == std::string("Restart")) {
    peer.reset();
    EXPECT_EQ(connect(), E_FAIL);
    EXPECT_EQ(take_error(E_FAIL).number(), 40011);
    peer.emplace(port);
  }
  recorder->start_over();
  gives_up = false;
  EXPECT_EQ(connect(), S_OK);
  peer->accept();
  call_answered();
  EXPECT_EQ(recorder->line, "=8");
}

std::vector<std::pair<Fault, When>> all_cells() {
  std::vector<std::pair<Fault, When>> cells;
  for (const Fault& fault : kFaults) {
    for (int stage = 0; stage < 6; ++stage) {
      const auto when = static_cast<When>(stage);
      if (fault.lie_at != kCount || when == When::kStream) cells.emplace_back(fault, when);
    }
  }
  return cells;
}

std::string name_of(const testing::TestParamInfo<std::pair<Fault, When>>& cell) {
  constexpr const char* kNames[] = {"Connecting", "Idle", "WaitingCall", "Stream", "List", "Disconnecting"};
  return cell.param.first.name + std::string("_") + kNames[static_cast<int>(cell.param.second)];
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultMatrix, testing::ValuesIn(all_cells()), name_of);

}  // namespace
}  // namespace kestrine::test
