#include "base/CopyFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

// Bytes that differ along the file, so that a block copied twice or out of place shows.
std::string Pattern(size_t size) {
  std::string bytes(size, '\0');
  uint32_t state = 12345;
  for (char& byte : bytes) {
    state = state * 1103515245u + 12345u;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

std::vector<std::string> Entries(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

// Through the kernel's copy and through the plain loop alike.
class CopyFileTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    MakedPath(dir / "to");
    ASSERT_TRUE(WriteFileAtomic(source, bytes));
    ::chmod(source.c_str(), 0640);
    options.kernelCopy = GetParam();
    options.block = 1 << 20;
  }

  test::TempDir dir;
  const std::string source = dir / "big.bin";
  const std::string target = dir / "to/big.bin";
  const std::string bytes = Pattern((16 << 20) + 12345);
  CopyOptions options;
};

TEST_P(CopyFileTest, ACopyCanceledAtHalfLeavesNothingAndStartsAgainCleanly) {
  std::vector<int64_t> seen;
  options.progress = [&](int64_t done, int64_t total) {
    EXPECT_EQ(total, static_cast<int64_t>(bytes.size()));
    seen.push_back(done);
    return done < total / 2;
  };
  EXPECT_EQ(CopyFileWithProgress(source, target, options), CopyResult::Canceled);
  EXPECT_TRUE(Entries(dir / "to").empty()) << "no half file, named or hidden";
  EXPECT_EQ(ReadText(source), bytes);
  ASSERT_GE(seen.size(), 9u);
  EXPECT_EQ(seen.front(), 0);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));

  seen.clear();
  options.progress = [&](int64_t done, int64_t) {
    seen.push_back(done);
    return true;
  };
  EXPECT_EQ(CopyFileWithProgress(source, target, options), CopyResult::Done);
  EXPECT_EQ(seen.back(), static_cast<int64_t>(bytes.size()));
  EXPECT_EQ(ReadText(target), bytes);
  EXPECT_EQ(Entries(dir / "to"), std::vector<std::string>{"big.bin"});
  struct stat st {};
  ::stat(target.c_str(), &st);
  EXPECT_EQ(st.st_mode & 07777, 0640u);

  // A taken name, the source itself, a missing source: nothing changes.
  EXPECT_EQ(CopyFileWithProgress(source, target, options), CopyResult::TargetExists);
  EXPECT_EQ(CopyFileWithProgress(source, dir / "big.bin", options), CopyResult::TargetExists);
  EXPECT_EQ(CopyFileWithProgress(dir / "gone", dir / "to/gone", options), CopyResult::Failed);
  EXPECT_EQ(CopyFileWithProgress(dir / "to", dir / "to2", options), CopyResult::Failed) << "a folder is no file";
  EXPECT_EQ(ReadText(source), bytes);
  EXPECT_EQ(Entries(dir / "to"), std::vector<std::string>{"big.bin"});
}

TEST_P(CopyFileTest, AMoveDeletesTheSourceOnlyWhenTheSizesAgree) {
  // The source grows while it is copied, as a download still running would.
  options.progress = [&](int64_t done, int64_t) {
    if (done > 0) WriteText("more", source, true);
    return true;
  };
  EXPECT_EQ(MoveFileByCopy(source, target, options), CopyResult::SizeMismatch);
  EXPECT_TRUE(FileExists(source));
  EXPECT_TRUE(Entries(dir / "to").empty());

  ASSERT_TRUE(WriteFileAtomic(source, bytes));
  options.progress = nullptr;
  EXPECT_EQ(MoveFileByCopy(source, target, options), CopyResult::Done);
  EXPECT_FALSE(FileExists(source));
  EXPECT_EQ(ReadText(target), bytes);
}

INSTANTIATE_TEST_SUITE_P(KernelAndLoop, CopyFileTest, ::testing::Bool());

}  // namespace
}  // namespace zel
