// The image file out of the answer that brought it.
#include <optional>

#include "byte_variant.h"

namespace kestrine::test {
namespace {

const std::string kNull =
    "80004005 40019 Kestrine.LTConnect.1: StillImageGetFile(): Invalid data passed-in (first parameter) !";
const std::string kWrongPacket =
    "80004005 40027 Kestrine.LTConnect.1: StillImageGetFile(): Passed data is invalid (not a Still Image packet) !";

Bytes image_packet(std::int32_t type, std::int32_t command, std::int32_t size) {
  Bytes bytes = packet(24, type) + Bytes{0xFF, 0xD8, 0xFF, 0xD9};
  put_i32(bytes, 8, command);
  put_i32(bytes, 20, size);
  return bytes;
}

class StillImageTest : public ClientTest {
 protected:
  // The file's bytes; without one the outputs must not have been touched.
  Bytes file_of(VARIANT* data, const std::string& expected) {
    std::int32_t size = -77;
    VARIANT file{};
    file.vt = VT_I4;
    const std::string outcome = told(connection->StillImageGetFile(data, &size, &file));
    EXPECT_EQ(outcome, expected);
    if (outcome != "ok") {
      EXPECT_TRUE(size == -77 && file.vt == VT_I4);
      return {};
    }
    EXPECT_EQ(file.vt, VT_ARRAY | VT_UI1);
    const auto* bytes = static_cast<const std::uint8_t*>(file.parray->pvData);
    const Bytes copy(bytes, bytes + file.parray->rgsabound[0].cElements);
    EXPECT_EQ(static_cast<std::size_t>(size), copy.size());
    EXPECT_EQ(file.parray->rgsabound[0].lLbound, 0);
    VariantClear(&file);
    return copy;
  }
};

TEST_F(StillImageTest, APacketNeedsTheTypeOrTheCommandAndTheBytesThatItsSizePromises) {
  make();
  struct Row {
    std::int32_t type, command, size;
    std::optional<Bytes> file;  // none: refused
  };
  const Bytes whole{0xFF, 0xD8, 0xFF, 0xD9};
  const Row rows[] = {{VL_DT_Command, VL_C_GetStillImage, 4, whole},
                      {VL_DT_Command, VL_C_GoBirdBath, 4, whole},
                      {VL_DT_MultiMeasResult, VL_C_GetStillImage, 4, whole},
                      {VL_DT_MultiMeasResult, VL_C_GoBirdBath, 4, {}},
                      {VL_DT_Error, 0, 4, {}},
                      {VL_DT_Command, VL_C_GetStillImage, 0, Bytes{}},
                      {VL_DT_Command, VL_C_GetStillImage, 2, Bytes{0xFF, 0xD8}},
                      {VL_DT_Command, VL_C_GetStillImage, 5, {}},
                      {VL_DT_Command, VL_C_GetStillImage, INT32_MAX, {}},
                      {VL_DT_Command, VL_C_GetStillImage, -1, {}},
                      {VL_DT_Command, VL_C_GetStillImage, INT32_MIN, {}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << ' ' << row.command << ' ' << row.size);
    ByteVariant data(image_packet(row.type, row.command, row.size));
    EXPECT_EQ(file_of(data, row.file ? "ok" : kWrongPacket), row.file.value_or(Bytes{}));
  }
  Bytes headless = image_packet(VL_DT_Command, VL_C_GetStillImage, 0);
  headless.resize(23);
  file_of(ByteVariant(headless), kWrongPacket);
  file_of(ByteVariant(Bytes{}), kWrongPacket);
  file_of(nullptr, kNull);
  EXPECT_EQ(connection->StillImageGetFile(nullptr, nullptr, nullptr), E_POINTER);
}

}  // namespace
}  // namespace kestrine::test
