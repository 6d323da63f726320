#include "client_test.h"
#include "kestrine/com_error.h"

namespace kestrine::test {
namespace {

const std::string kWrong = "80004005 40026 Kestrine.LTConnect.1: Wrong Parameter";

class ConstantsTest : public ClientTest {};

TEST_F(ConstantsTest, EachHasItsValue) {
  make();
  constexpr double kValues[] = {0,
                                1e35,
                                1e15,
                                1,
                                1000,
                                1e6,
                                39.37007874,
                                3.280839895,
                                1.093613298,
                                1,
                                63.66197723675813,
                                57.29577951308232,
                                1,
                                1,
                                0.1,
                                0.7500637554192106,
                                0.014503774389728311,
                                0.401474213311279,
                                0.02953006736694268,
                                1,
                                0,
                                1.8,
                                32};
  static_assert(std::size(kValues) == KR_C_TemperatureOffsetFahrenheit + 1);
  for (std::size_t i = 0; i < std::size(kValues); ++i) {
    double value = -77;
    EXPECT_EQ(told(connection->GetConstant(static_cast<KR_Constant>(i), &value)), "ok");
    EXPECT_EQ(value, kValues[i]) << i;
  }
}

TEST_F(ConstantsTest, AnUnknownOneIsZeroAndAFailure) {
  make();
  for (const int constant : {-1, 23, INT32_MAX}) {
    double value = -77;
    EXPECT_EQ(told(connection->GetConstant(static_cast<KR_Constant>(constant), &value)), kWrong);
    EXPECT_EQ(value, 0);
  }
  connection->put_ExceptionHandlingPolicy(1);
  double value = -77;
  EXPECT_THROW(connection->GetConstant(static_cast<KR_Constant>(23), &value), _com_error);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(connection->GetConstant(KR_C_FixedStdDev, nullptr), E_POINTER);
}

}  // namespace
}  // namespace kestrine::test
