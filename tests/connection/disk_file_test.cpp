#include <filesystem>
#include <fstream>
#include <iterator>

#include "byte_variant.h"

namespace kestrine::test {
namespace {

namespace fs = std::filesystem;

const std::string kFailed =
    "80004005 40025 Kestrine.LTConnect.1: WriteDiskFile(): File could not be written. Check for valid Filename/Path !";

class DiskFileTest : public ClientTest {
 protected:
  DiskFileTest() {
    fs::create_directory(folder);
    make();
  }
  ~DiskFileTest() override { fs::remove_all(folder); }

  std::string write(VARIANT* data, const std::string& to) {
    return told(connection->WriteDiskFile(data, Text(std::string_view(to))));
  }
  static Bytes content(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  static std::ptrdiff_t open_descriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  }

  const fs::path folder = fs::path(testing::TempDir()) / ("kestrine-disk-" + std::to_string(peer.port()));
  const std::string name = (folder / "Größe 1.jpg").string();
};

TEST_F(DiskFileTest, TheBytesOfTheArrayReplaceWhatTheFileHeld) {
  Bytes bytes(100'000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * 7);
  for (const std::size_t size : {bytes.size(), std::size_t{3}, std::size_t{0}}) {
    bytes.resize(size);
    EXPECT_EQ(write(ByteVariant(bytes), name), "ok");
    EXPECT_EQ(content(name), bytes);
  }
}

TEST_F(DiskFileTest, OfWiderElementsAsManyBytesAreWrittenAsThereAreElements) {
  ByteVariant words(Bytes{1, 2, 3}, VT_I4);
  EXPECT_EQ(write(words, name), "ok");
  EXPECT_EQ(content(name), (Bytes{1, 2, 3}));
}

TEST_F(DiskFileTest, OfSeveralDimensionsTheFirstInMemoryCounts) {
  EXPECT_EQ(write(ByteVariant(2, 5), name), "ok");
  EXPECT_EQ(content(name), Bytes(5));
  EXPECT_EQ(write(ByteVariant(0, 5), name), "ok");
  EXPECT_EQ(content(name), Bytes()) << "there is no byte to write";
}

TEST_F(DiskFileTest, WithoutDataOrNameNothingIsTouched) {
  ByteVariant data(Bytes{1});
  VARIANT empty{};
  EXPECT_EQ(write(data, name), "ok");
  EXPECT_EQ(write(nullptr, name), kFailed);
  EXPECT_EQ(write(&empty, name), kFailed);
  EXPECT_EQ(write(data, ""), kFailed);
  EXPECT_EQ(told(connection->WriteDiskFile(data, nullptr)), kFailed);
  EXPECT_EQ(content(name), Bytes{1});
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
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
