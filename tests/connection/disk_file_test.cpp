#include <filesystem>
#include <iterator>

#include "byte_variant.h"

namespace kestrine::test {
namespace {

namespace fs = std::filesystem;

const std::string kFailed =
    "80004005 40025 Kestrine.LTConnect.1: WriteDiskFile(): File could not be written. Check for valid Filename/Path !";

class DiskFileTest : public ClientTest {
 protected:
  DiskFileTest() { make(); }

  std::string write(VARIANT* data, const std::string& to) {
    return told(connection->WriteDiskFile(data, Text(std::string_view(to))));
  }
  Bytes content() const {
    const std::string text = text_of(name);
    return Bytes(text.begin(), text.end());
  }
  static std::ptrdiff_t open_descriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
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
  VARIANT empty{};
  EXPECT_EQ(write(data, name), "ok");
  EXPECT_EQ(write(nullptr, name), kFailed);
  EXPECT_EQ(write(&empty, name), kFailed);
  EXPECT_EQ(write(data, ""), kFailed);
  EXPECT_EQ(told(connection->WriteDiskFile(data, nullptr)), kFailed);
  EXPECT_EQ(content(), Bytes{1});
}

TEST_F(DiskFileTest, AFileThatCannotBeWrittenFailsAndIsNotLeftOpen) {
  const std::ptrdiff_t before = open_descriptors();
  ByteVariant little(Bytes(10));  // fails when the file is closed
  ByteVariant much(Bytes(1'000'000));
  EXPECT_EQ(write(little, (folder / "missing" / "a").string()), kFailed);
  EXPECT_EQ(write(little, folder.string()), kFailed);
  for (VARIANT* data : {static_cast<VARIANT*>(little), static_cast<VARIANT*>(much)}) {
    EXPECT_EQ(write(data, "/dev/full"), kFailed);
  }
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace kestrine::test
