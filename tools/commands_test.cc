#include "tools/commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

namespace fs = std::filesystem;

TEST(SplitFilePathTest, FolderKeepsItsTrailingSlash) {
  const struct {
    const char* given;
    const char* path;
    const char* file;
  } rows[] = {
      {"hall.rsp", "", "hall.rsp"},
      {"data/hall.rsp", "data/", "hall.rsp"},
      {"/abs/data/hall.rsp", "/abs/data/", "hall.rsp"},
      {"./hall.rsp", "./", "hall.rsp"},
      {"data//hall.rsp", "data//", "hall.rsp"},
      {"data/", "data/", ""},
      {"/", "/", ""},
      {"", "", ""},
      {"dir.v2/hall", "dir.v2/", "hall"},
  };
  for (const auto& row : rows) {
    const SplitPath split = SplitFilePath(row.given);
    EXPECT_EQ(split.sPath, row.path) << row.given;
    EXPECT_EQ(split.sFile, row.file) << row.given;
  }
}

class WriteFileAtomicallyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = fs::temp_directory_path() / "zyra-rsp-atomic-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    fs::permissions(folder_, fs::perms::owner_all, fs::perm_options::add);
    fs::remove_all(folder_);
  }
  static std::string Contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }
  static std::vector<uint8_t> Bytes(const std::string& text) { return {text.begin(), text.end()}; }
  // The names in the folder, to see that no temporary is left behind.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  fs::path folder_;
};

TEST_F(WriteFileAtomicallyTest, CreatesAndReplacesWithoutLeftovers) {
  const fs::path target = folder_ / "out.rsp";
  std::string message;
  ASSERT_TRUE(WriteFileAtomically(target, Bytes("first"), message)) << message;
  EXPECT_EQ(Contents(target), "first");
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read,
                  fs::perm_options::replace);
  ASSERT_TRUE(WriteFileAtomically(target, Bytes("second, longer"), message)) << message;
  EXPECT_EQ(Contents(target), "second, longer");
  EXPECT_EQ(fs::status(target).permissions() & fs::perms::all,
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  ASSERT_TRUE(WriteFileAtomically(target, {}, message)) << message;
  EXPECT_EQ(fs::file_size(target), 0u);
  EXPECT_EQ(Names(), std::vector<std::string>{"out.rsp"});
}

TEST_F(WriteFileAtomicallyTest, MissingFolderFailsWithAMessage) {
  std::string message;
  EXPECT_FALSE(WriteFileAtomically(folder_ / "missing" / "out.rsp", Bytes("x"), message));
  EXPECT_NE(message.find("out.rsp"), std::string::npos) << message;
  EXPECT_TRUE(Names().empty());
}

TEST_F(WriteFileAtomicallyTest, FailedRenameLeavesTargetAndNoTemporary) {
  // A folder in the target's place: the bytes are written, the rename fails.
  const fs::path target = folder_ / "out.rsp";
  fs::create_directory(target);
  std::ofstream(target / "keep") << "old";
  std::string message;
  EXPECT_FALSE(WriteFileAtomically(target, Bytes("new"), message));
  EXPECT_FALSE(message.empty());
  EXPECT_EQ(Contents(target / "keep"), "old");
  EXPECT_EQ(Names(), std::vector<std::string>{"out.rsp"});
}

TEST_F(WriteFileAtomicallyTest, ReadOnlyFolderLeavesTheOldFile) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser writes into read-only folders";
  const fs::path target = folder_ / "out.rsp";
  std::ofstream(target) << "old";
  fs::permissions(folder_, fs::perms::owner_read | fs::perms::owner_exec,
                  fs::perm_options::replace);
  std::string message;
  EXPECT_FALSE(WriteFileAtomically(target, Bytes("new"), message));
  EXPECT_EQ(Contents(target), "old");
  EXPECT_EQ(Names(), std::vector<std::string>{"out.rsp"});
}

TEST(PrintErrorLineTest, OneLineNamingTheFile) {
  std::ostringstream err;
  PrintErrorLine(err, "data/hall.rsp", "Bad Puls Length");
  PrintErrorLine(err, "x.rsp", "Error in ReadRSPFile:\r\nCode62");
  EXPECT_EQ(err.str(),
            "zyra-rsp: data/hall.rsp: Bad Puls Length\n"
            "zyra-rsp: x.rsp: Error in ReadRSPFile:  Code62\n");
}

}  // namespace
}  // namespace zyra::tool
