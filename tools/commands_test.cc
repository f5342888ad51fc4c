#include "tools/commands.h"

#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "testing/temp_folder.h"

namespace zyra::tool {
namespace {

namespace fs = std::filesystem;

// Writes succeed whole or leave the old file, and never leave a temporary behind.
TEST(WriteFileAtomicallyTest, ReplacesWholeOrLeavesTheOldFile) {
  const testing::TempFolder temp;
  const fs::path& folder = temp.Path();
  const fs::path target = folder / "out.rsp";
  const auto write = [&](const fs::path& file, const std::string& text) {
    std::string message;
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    const bool ok = WriteFileAtomically(file, bytes, message);
    EXPECT_EQ(ok, message.empty()) << message;
    return ok;
  };
  const auto onlyTarget = [&] {
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
  };
  ASSERT_TRUE(write(target, "first, longer"));
  const fs::perms kMode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
  fs::permissions(target, kMode, fs::perm_options::replace);
  ASSERT_TRUE(write(target, "second"));
  EXPECT_EQ(testing::ReadWholeFile(target), "second");
  EXPECT_EQ(fs::status(target).permissions() & fs::perms::all, kMode);  // the mode is kept
  EXPECT_FALSE(write(folder / "missing" / "out.rsp", "x"));
  onlyTarget();
  // Stopped (Ctrl-C) after the first megabyte of three: the old file stays, no temporary.
  int asked = 0;
  std::string message;
  const std::vector<uint8_t> big(3 << 20, 'x');
  EXPECT_FALSE(WriteFileAtomically(target, big, message, [&](double) { return ++asked < 2; }));
  EXPECT_EQ(message, "interrupted, nothing written");
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(testing::ReadWholeFile(target), "second");
  onlyTarget();
  // A folder in the target's place: the bytes are written, the rename fails.
  fs::remove(target);
  fs::create_directory(target);
  EXPECT_FALSE(write(target, "new"));
  onlyTarget();
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
