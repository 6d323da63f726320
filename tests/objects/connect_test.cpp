// What a connection object is asked for and told beside connecting: data, constants, versions, switches; and how its
// failures reach the caller.
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
  for (std::int32_t type = VL_DT_Command; type <= VL_DT_ProbePosResult + 1; ++type) {
    receive(filled(400 + type, type));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(data(), filled(400 + type, type)) << "as often as asked";
  }
}

TEST_F(ConnectTest, TheVersionIsTheLibrarysAndANullOutputIsRefused) {
  make();
  for (const HRESULT refused :
       {connection->get_IsConnected(nullptr), connection->GetData(nullptr),
        connection->GetConstant(KR_C_FixedStdDev, nullptr), connection->get_ILTCommandSync(nullptr)}) {
    EXPECT_EQ(refused, E_POINTER);
  }
  using Property = HRESULT (Connect::*)(std::int32_t*);
  std::vector<std::int32_t> version;
  for (const Property property :
       {&Connect::get_Version, &Connect::get_MajorVersion, &Connect::get_MinorVersion, &Connect::get_BuildNumber}) {
    EXPECT_EQ((connection.get()->*property)(&version.emplace_back()), S_OK);
  }
  EXPECT_EQ(version, (std::vector{196'616, 3, 8, 680}));
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

TEST_F(ConnectTest, AFailureCarriesItsInterfaceAndItsHandlerStillSeesTheOneBefore) {
  start();
  std::string seen;
  sync_listener->handler = [&](DISPID) {
    seen = told(E_FAIL);
    return S_OK;
  };
  ASSERT_EQ(connect_again(), E_FAIL);
  ASSERT_EQ(connection->SelectNotificationMethod(KR_NM_Event, 12, 0), E_FAIL);
  EXPECT_EQ(seen, "80004005 40009" + kSource + kConnected);
  Pointer<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID iid{};
  EXPECT_EQ(info->GetGUID(&iid), S_OK);
  EXPECT_TRUE(iid == IID_ILTConnect);
  SetErrorInfo(0, info.get());
  EXPECT_EQ(told(E_FAIL), "80004005 40018" + kSource + "TargetHandle notify method not yet supported for x64");
}

TEST_F(ConnectTest, WithTheExceptionPolicyFailuresAreThrownAfterTheEvent) {
  start();
  EXPECT_EQ(connection->put_ExceptionHandlingPolicy(-7), S_OK);
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
  connection->SelectNotificationMethod(KR_NM_WM_CopyData, 0, 0);
  EXPECT_THROW(connect_again(), _com_error);
  platform::close_socket(static_cast<platform::SocketHandle>(peer.client_descriptor()));
  EXPECT_THROW(connection->DisconnectEmbeddedSystem(), _com_error);
  EXPECT_EQ(heard(), Lines()) << "no event but under KR_NM_Event";
  EXPECT_EQ(connection->put_ExceptionHandlingPolicy(0), S_OK);
  EXPECT_EQ(told(connection->ConnectEmbeddedSystem(Text(""), 1)).substr(0, 14), "80004005 40010");
}

}  // namespace
}  // namespace kestrine::test
