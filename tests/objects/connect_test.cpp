// What a connection object is asked for and told beside connecting: data, constants, versions, switches; and how its
// failures reach the caller.
#include <cstring>
#include <sstream>

#include "client_test.h"
#include "kestrine/com_error.h"
#include "kestrine/text.h"

namespace kestrine::test {
namespace {

const std::string kSource = " Kestrine.LTConnect.1: ";
const std::string kConnected = "Object already connected to server\n";

class ConnectTest : public ClientTest {
 protected:
  HRESULT connect_again() { return connection->ConnectEmbeddedSystem(Text("127.0.0.1"), peer.port()); }
};

TEST_F(ConnectTest, DataAreThePacketReceivedLast) {
  make();
  EXPECT_EQ(data(), Bytes());
  connect();
  EXPECT_EQ(data(), Bytes());
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult + 1; ++type) {
    receive(filled(400 + type, type));
    EXPECT_EQ(data(), filled(400 + type, type)) << "also of a type that nobody knows";
    EXPECT_EQ(data(), filled(400 + type, type)) << "as often as asked";
  }
  VARIANT kept;
  ASSERT_EQ(connection->GetData(&kept), S_OK);
  const auto last = filled(400 + VL_DT_ProbePosResult + 1, VL_DT_ProbePosResult + 1);
  receive(packet(400, VL_DT_ProbePosResult + 1));
  EXPECT_EQ(std::memcmp(kept.parray->pvData, last.data(), last.size()), 0) << "a copy for the caller to keep";
  EXPECT_EQ(VariantClear(&kept), S_OK);
}

TEST_F(ConnectTest, DataWithoutMemoryForThemAreAFailure) {
  make();
  const std::uint8_t byte = 0;
  connection->buffers().set_latest({&byte, 0xFFFF'FFFF});  // no array is that large
  VARIANT untouched{};
  untouched.vt = VT_I4;
  EXPECT_EQ(told(connection->GetData(&untouched)),
            "80004005 40007" + kSource + "SAFEARRAY creation failed (fatal error) !");
  EXPECT_EQ(untouched.vt, VT_I4);
}

TEST_F(ConnectTest, EveryConstantHasItsValueAndAnUnknownOneIsZeroAndAFailure) {
  make();
  std::istringstream values(
      "0 1e35 1e15 1 1000 1e6 39.37007874 3.280839895 1.093613298 1 63.66197723675813 57.29577951308232 1 1 0.1 "
      "0.7500637554192106 0.014503774389728311 0.401474213311279 0.02953006736694268 1 0 1.8 32");
  int constant = 0;
  for (double expected = 0; values >> expected; ++constant) {
    double value = -77;
    EXPECT_EQ(told(connection->GetConstant(static_cast<KR_Constant>(constant), &value)), "ok");
    EXPECT_EQ(value, expected) << constant;
  }
  EXPECT_EQ(constant, KR_C_TemperatureOffsetFahrenheit + 1);
  for (const int unknown : {-1, constant, INT32_MAX}) {
    double value = -77;
    EXPECT_EQ(told(connection->GetConstant(static_cast<KR_Constant>(unknown), &value)),
              "80004005 40026" + kSource + "Wrong Parameter");
    EXPECT_EQ(value, 0);
  }
}

TEST_F(ConnectTest, TheVersionIsTheLibrarysAndANullOutputIsRefused) {
  make();
  for (const HRESULT refused : {connection->get_IsConnected(nullptr), connection->get_LastResultStatus(nullptr),
                                connection->GetData(nullptr), connection->GetConstant(KR_C_FixedStdDev, nullptr),
                                connection->get_ILTCommandSync(nullptr), connection->get_ILTCommandAsync(nullptr)}) {
    EXPECT_EQ(refused, E_POINTER);
  }
  const std::pair<HRESULT (Connect::*)(std::int32_t*), std::int32_t> rows[] = {{&Connect::get_Version, 196'616},
                                                                               {&Connect::get_MajorVersion, 3},
                                                                               {&Connect::get_MinorVersion, 8},
                                                                               {&Connect::get_BuildNumber, 680}};
  for (const auto& [property, expected] : rows) {
    std::int32_t value = 0;
    EXPECT_EQ((connection.get()->*property)(&value), S_OK);
    EXPECT_EQ(value, expected);
    EXPECT_EQ((connection.get()->*property)(nullptr), E_POINTER);
  }
}

TEST_F(ConnectTest, SwitchesTakeAnyNumberButZeroForYes) {
  start();
  EXPECT_EQ(connection->put_ForceSingleConnection(-1), S_OK);
  receive(status_change(26));  // it changes nothing
  for (const VARIANT_BOOL flag : {VARIANT_BOOL{5}, VARIANT_FALSE}) {
    EXPECT_EQ(connection->put_SupportLegacyStationaryMode(flag), S_OK);
    EXPECT_EQ(connection->measurement().check_mode(protocol::ModeCheck::kContinuousProbe) != nullptr, flag != 0);
  }
}

TEST_F(ConnectTest, AFailureCarriesTheInterfaceItBelongsToAndNoHelp) {
  start();
  ASSERT_EQ(connect_again(), E_FAIL);
  Pointer<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID iid{};
  EXPECT_EQ(info->GetGUID(&iid), S_OK);
  EXPECT_TRUE(iid == IID_ILTConnect);
  BSTR file = nullptr;
  DWORD context = 1;
  EXPECT_EQ(info->GetHelpFile(&file), S_OK);
  EXPECT_EQ(info->GetHelpContext(&context), S_OK);
  EXPECT_TRUE(file == nullptr && context == 0);
}

TEST_F(ConnectTest, AHandlerOfAFailureStillSeesTheErrorInformationBeforeIt) {
  start();
  EXPECT_EQ(connect_again(), E_FAIL);
  std::string seen;
  sync_listener->handler = [&](DISPID) {
    seen = told(E_FAIL);
    return S_OK;
  };
  EXPECT_EQ(told(connection->SelectNotificationMethod(KR_NM_Event, 12, 0)),
            "80004005 40018" + kSource + "TargetHandle notify method not yet supported for x64");
  EXPECT_EQ(seen, "80004005 40009" + kSource + kConnected);
}

TEST_F(ConnectTest, WithTheExceptionPolicyFailuresAreThrownAfterTheEvent) {
  start();
  for (const int policy : {1, -7}) {
    EXPECT_EQ(connection->put_ExceptionHandlingPolicy(policy), S_OK);
    try {
      connect_again();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const _com_error& error) {
      EXPECT_EQ(error.Error(), E_FAIL);
      EXPECT_EQ(to_utf8(error.Description()), kConnected);
      EXPECT_EQ(error.Source(), u"Kestrine.LTConnect.1");
    }
    EXPECT_EQ(heard(), Lines({"sync ExceptionEvent 40009 '" + kConnected + "'"}));
    EXPECT_EQ(told(E_FAIL), "80004005 40009" + kSource + kConnected);
  }
  connection->SelectNotificationMethod(KR_NM_WM_CopyData, 0, 0);
  double value = -77;
  VARIANT no_data{};
  std::int32_t number = 0;
  EXPECT_THROW(connect_again(), _com_error);
  EXPECT_THROW(connection->SelectNotificationMethod(KR_NM_Event, 1, 0), _com_error);
  EXPECT_THROW(connection->GetConstant(static_cast<KR_Constant>(23), &value), _com_error);
  EXPECT_EQ(value, 0);
  EXPECT_THROW(connection->WriteDiskFile(&no_data, nullptr), _com_error);
  EXPECT_THROW(connection->StillImageGetFile(&no_data, &number, &no_data), _com_error);
  platform::close_socket(static_cast<platform::SocketHandle>(peer.client_descriptor()));
  EXPECT_THROW(connection->DisconnectEmbeddedSystem(), _com_error);
  EXPECT_EQ(heard(), Lines()) << "no event but under KR_NM_Event";
  EXPECT_EQ(connection->put_ExceptionHandlingPolicy(0), S_OK);
  EXPECT_EQ(told(connection->ConnectEmbeddedSystem(Text(""), 1)).substr(0, 14), "80004005 40010");
}

}  // namespace
}  // namespace kestrine::test
