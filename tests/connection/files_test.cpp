// Files out of arrays that callers hand in: the image in the answer that brought it, and any bytes at all.
#include <filesystem>
#include <optional>

#include "byte_variant.h"
#include "connection/byte_arrays.h"

namespace kestrine::test {
namespace {

const std::string kNoData =
    "80004005 40019 Kestrine.LTConnect.1: StillImageGetFile(): Invalid data passed-in (first parameter) !";
const std::string kNoImage =
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
    const auto bytes = connection::bytes_of(&file).value();
    const Bytes copy(bytes.begin(), bytes.end());
    EXPECT_EQ(static_cast<std::size_t>(size), copy.size());
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
                      {VL_DT_Command, VL_C_GetStillImage, -1, {}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << ' ' << row.command << ' ' << row.size);
    ByteVariant data(image_packet(row.type, row.command, row.size));
    EXPECT_EQ(file_of(data, row.file ? "ok" : kNoImage), row.file.value_or(Bytes{}));
  }
  Bytes headless = image_packet(VL_DT_Command, VL_C_GetStillImage, 0);
  headless.resize(23);
  file_of(ByteVariant(headless), kNoImage);
  file_of(ByteVariant(Bytes{}), kNoImage);
  file_of(nullptr, kNoData);
  EXPECT_EQ(connection->StillImageGetFile(nullptr, nullptr, nullptr), E_POINTER);
}

namespace fs = std::filesystem;

const std::string kNotWritten =
    "80004005 40025 Kestrine.LTConnect.1: WriteDiskFile(): File could not be written. Check for valid Filename/Path !";

class DiskFileTest : public ClientTest {
 protected:
  DiskFileTest() { make(); }

  std::string write(VARIANT* data, const std::string& to) {
    return told(connection->WriteDiskFile(data, Text(std::string_view(to))));
  }
  Bytes content() const {
    const std::string text = text_of(name);
    return {text.begin(), text.end()};
  }

  const fs::path folder = environment.directory();
  const std::string name = (folder / "Größe 1.jpg").string();
};

TEST_F(DiskFileTest, AsManyBytesReplaceTheFileAsTheFirstDimensionInMemoryHasElements) {
  Bytes bytes(100'000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
  ByteVariant many(bytes), none(Bytes{}), wide(Bytes{1, 2, 3}, VT_I4), two_dimensions(2, 5), no_rows(0, 5);
  const std::pair<VARIANT*, Bytes> rows[] = {
      {many, bytes}, {wide, {1, 2, 3}}, {none, {}}, {two_dimensions, Bytes(5)}, {no_rows, {}}};
  for (const auto& [data, expected] : rows) {
    EXPECT_EQ(write(data, name), "ok");
    EXPECT_EQ(content(), expected);
  }
}

TEST_F(DiskFileTest, WithoutDataOrNameNothingIsTouched) {
  ByteVariant data(Bytes{1});
  EXPECT_EQ(write(data, name), "ok");
  EXPECT_EQ(write(nullptr, name), kNotWritten);
  EXPECT_EQ(write(data, ""), kNotWritten);
  EXPECT_EQ(told(connection->WriteDiskFile(data, nullptr)), kNotWritten);
  EXPECT_EQ(content(), Bytes{1});
}

TEST_F(DiskFileTest, AFileThatCannotBeWrittenFails) {
  ByteVariant little(Bytes(10));  // fails when the file is closed
  ByteVariant much(Bytes(1'000'000));
  EXPECT_EQ(write(little, folder.string()), kNotWritten);
  EXPECT_EQ(write(little, "/dev/full"), kNotWritten);
  EXPECT_EQ(write(much, "/dev/full"), kNotWritten);
}

}  // namespace
}  // namespace kestrine::test
