// zel-cli pkz driven as a user's script would drive it.
#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::RunCli;
using test::TempDir;

TEST(ZelCliPkz, CreateAddListExtractDelete) {
  TempDir dir;
  const std::string archive = dir / "p.pkz";
  ASSERT_TRUE(WriteFileAtomic(dir / "a.txt", "alpha"));
  ASSERT_TRUE(WriteFileAtomic(dir / "b.bin", std::string("br\0vo!", 6)));
  ASSERT_EQ(RunCli({"pkz", "create", archive, dir / "a.txt"}).exitCode, 0);
  ASSERT_EQ(RunCli({"pkz", "add", archive, dir / "b.bin", "--name", "sub/b.bin"}).exitCode, 0);
  EXPECT_EQ(RunCli({"pkz", "list", archive}).output, "0\ta.txt\t5\n1\tsub/b.bin\t6\n");

  ASSERT_EQ(RunCli({"pkz", "extract", archive, "-o", dir / "out"}).exitCode, 0);
  EXPECT_EQ(ReadText(dir / "out/a.txt"), "alpha");
  EXPECT_EQ(ReadText(dir / "out/sub/b.bin"), std::string("br\0vo!", 6));
  ASSERT_EQ(RunCli({"pkz", "extract", archive, "1", "-o", dir / "one.bin"}).exitCode, 0);
  EXPECT_EQ(ReadText(dir / "one.bin"), std::string("br\0vo!", 6));
  EXPECT_EQ(RunCli({"pkz", "extract", archive, "2", "-o", dir / "two.bin"}).exitCode, 1);

  ASSERT_EQ(RunCli({"pkz", "delete", archive, "0"}).exitCode, 0);
  EXPECT_EQ(RunCli({"pkz", "list", archive}).output, "0\tsub/b.bin\t6\n");

  EXPECT_EQ(RunCli({"pkz", "add", archive, dir / "a.txt", dir / "b.bin", "--name", "x"}).exitCode, 2);
  EXPECT_EQ(RunCli({"pkz", "extract", archive}).exitCode, 2);
  EXPECT_EQ(RunCli({"pkz", "shuffle", archive}).exitCode, 2);
}

TEST(ZelCliPkz, LeavesOtherFilesAlone) {
  TempDir dir;
  ASSERT_TRUE(WriteFileAtomic(dir / "a.txt", "alpha"));
  ASSERT_EQ(RunCli({"pkz", "create", dir / "p.pkz"}).exitCode, 0);
  const std::string empty = ReadText(dir / "p.pkz");
  const auto again = RunCli({"pkz", "create", dir / "p.pkz", dir / "a.txt"});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_NE(again.output.find("already exists"), std::string::npos) << again.output;
  EXPECT_EQ(ReadText(dir / "p.pkz"), empty);

  const auto list = RunCli({"pkz", "list", dir / "a.txt"});
  EXPECT_EQ(list.exitCode, 1);
  EXPECT_NE(list.output.find("is not a PKZ archive"), std::string::npos) << list.output;
  EXPECT_EQ(RunCli({"pkz", "add", dir / "a.txt", dir / "a.txt"}).exitCode, 1);
  EXPECT_EQ(ReadText(dir / "a.txt"), "alpha");
}

}  // namespace
}  // namespace zel
