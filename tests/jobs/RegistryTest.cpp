#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <string>

#include "jobs/IniFile.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "jobs/JobsTestSupport.h"

namespace zel::test {
namespace {

constexpr const char* kPath = "Software\\Calder\\ZEL\\Settings";

using RegistryStore = StoreTest;

TEST_F(RegistryStore, ValuesReadAsTheyWereStoredOrAsTheDefault) {
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "SplitPart", "1"), "1");  // no file yet

  RegistryWrite(HKEY_CURRENT_USER, kPath, "SplitPart", "");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "SplitPart", "1"), "");
  EXPECT_EQ(Val(ReadSetting("SplitPart")), 0);

  RegistryWrite(HKEY_CURRENT_USER, kPath, "Cut", std::string("abc\0def", 7));
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Cut", "x"), "abc");

  // Names ignore case; hives and paths keep values apart.
  RegistryWrite(HKEY_CURRENT_USER, kPath, "OutputMode", "MKV");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "outputmode", "MP4"), "MKV");
  EXPECT_EQ(RegistryRead(HKEY_LOCAL_MACHINE, kPath, "OutputMode", "MP4"), "MP4");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Software\\Calder\\ZEL", "OutputMode", "MP4"), "MP4");

  // Text that needs escaping survives the file.
  const std::string awkward = "引号\"与\\反斜杠\n第二行\t=[x]\x01";
  RegistryWrite(HKEY_CURRENT_USER, kPath, "Awkward \"name\"", awkward);
  SetRegistryStoreFile(dir / "registry.reg");  // drop the cache: read the file again
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "awkward \"NAME\""), awkward);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "OutputMode"), "MKV");
}

TEST_F(RegistryStore, ValuesOfAnotherTypeOrTornLinesReadAsTheDefault) {
  WriteFileAtomic(dir / "registry.reg",
                  "[HKEY_CURRENT_USER\\Software\\Calder\\ZEL\\Settings]\n"
                  "\"Build\"=dword:00006595\n"
                  "\"Theme\"=hex(2):41,00\n"
                  "\"Torn\"=\"no closing quote\r"
                  "\"Good\"=\"yes\"\r\n"
                  "junk line\n"
                  "[unterminated\n"
                  "\"Orphan\"=\"x\"\n");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Build", "0"), "0");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Theme", "26"), "26");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Torn", "d"), "d");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Good", "d"), "yes");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Orphan", "d"), "d");

  // A text write replaces the other type; the other values stay as they were.
  RegistryWrite(HKEY_CURRENT_USER, kPath, "Build", "26001");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, kPath, "Build", "0"), "26001");
  EXPECT_NE(ReadText(dir / "registry.reg").find("\"Theme\"=hex(2):41,00"), std::string::npos);
}

TEST_F(RegistryStore, DeletingTheKeyGivesDefaultsUntilTheNextWriteAndListenersHearEveryChange) {
  std::vector<std::string> heard;
  const int listener = AddSettingListener([&heard](std::string_view key) { heard.emplace_back(key); });
  WriteSetting("OutputMode", "MKV");
  WriteSetting("OutputMode", "MKV");  // what a read gives stays: nobody is told
  WriteSetting("SplitMode", StrSplitHeadTail);
  RegistryWrite(HKEY_CURRENT_USER, std::string(kPath) + "\\Sub", "X", "1");
  RegistryWrite(HKEY_CURRENT_USER, "Software\\Other", "Y", "2");

  DeleteAllSettings();
  EXPECT_EQ(ReadSetting("OutputMode"), "MP4");
  EXPECT_EQ(ReadSetting("SplitMode"), StrSplitPointToPoint);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, std::string(kPath) + "\\Sub", "X", "gone"), "gone");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Software\\Other", "Y"), "2");

  WriteSetting("OutputMode", "FLV");
  EXPECT_EQ(ReadSetting("OutputMode"), "FLV");
  EXPECT_EQ(ReadSetting("SplitMode"), StrSplitPointToPoint);
  RemoveSettingListener(listener);
  WriteSetting("OutputMode", "AVI");
  EXPECT_EQ(heard, (std::vector<std::string>{"OutputMode", "SplitMode", "", "OutputMode"}));
}

TEST_F(RegistryStore, TwoProcessesWritingAtOnceLoseNothing) {
  constexpr int kChildren = 4, kWrites = 25;
  std::vector<pid_t> children;
  for (int child = 0; child < kChildren; ++child) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      for (int i = 0; i < kWrites; ++i) {
        RegistryWrite(HKEY_CURRENT_USER, kPath, "K" + std::to_string(child) + "_" + std::to_string(i), "v");
      }
      ::_exit(0);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  int found = 0;
  for (int child = 0; child < kChildren; ++child) {
    for (int i = 0; i < kWrites; ++i) {
      found += RegistryRead(HKEY_CURRENT_USER, kPath, "K" + std::to_string(child) + "_" + std::to_string(i)) == "v";
    }
  }
  EXPECT_EQ(found, kChildren * kWrites);
}

TEST_F(RegistryStore, IniFormFollowsTheProfileStringRules) {
  const std::string ini = dir / "list.ini";
  WriteFileAtomic(ini, "; a task list\r\n[Task1]\r\nPath = \"/v/a b.avi\" \r\n\r\n[Task2]\r\nPath=/v/c.avi\r\n");

  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "task1", "PATH", "d", ini), "/v/a b.avi");
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Task3", "Path", "d", ini), "d");

  RegistryWrite(HKEY_CURRENT_USER, "Task1", "Empty", "", ini);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Task1", "Empty", "d", ini), "d");  // length 0 gives the default

  const std::string longValue = std::string(300, 'x');
  RegistryWrite(HKEY_CURRENT_USER, "Task1", "Long", longValue, ini);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Task1", "Long", "", ini), std::string(254, 'x'));
  // The buffer counts characters, not bytes.
  std::string wide;
  for (int i = 0; i < 300; ++i) wide += "字";
  RegistryWrite(HKEY_CURRENT_USER, "Task1", "Wide", wide, ini);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Task1", "Wide", "", ini), wide.substr(0, 254 * 3));

  // A value cannot add a line of its own.
  RegistryWrite(HKEY_CURRENT_USER, "Task2", "Name", "a\r\n[Task9]\nPath=evil", ini);
  EXPECT_EQ(RegistryRead(HKEY_CURRENT_USER, "Task9", "Path", "none", ini), "none");

  RegistryDeleteKey(HKEY_CURRENT_USER, "TASK1", ini);
  const std::string text = ReadText(ini);
  EXPECT_EQ(text.find("[Task1]"), std::string::npos);
  EXPECT_EQ(text.rfind("; a task list\r\n[Task2]\r\nPath=/v/c.avi\r\nName=", 0), 0u) << text;
}

TEST_F(RegistryStore, TheTableHoldsEveryKeyOnceWithItsDefaults) {
  std::set<std::string> names;
  for (const SettingKey& key : SettingKeys()) EXPECT_TRUE(names.insert(LowerAscii(key.name)).second) << key.name;
  EXPECT_GE(names.size(), 160u);

  Shared().ProcessorCount = 6;
  Shared().ProgramFolder = "/opt/zel/";
  EXPECT_EQ(ReadSetting("MaxThreads"), "6");
  EXPECT_EQ(ReadSetting("ToolsFolder"), "/opt/zel/Tools/");
  EXPECT_TRUE(EndsWith(ReadSetting("ImageGrabberCommentString"), " ZEL Screenshot"));
  EXPECT_TRUE(EndsWith(ReadSetting("OutputFolder"), "/"));
  EXPECT_EQ(SettingSecondDefault("AVSInsertImageTime"), "10s");
  EXPECT_EQ(SettingSecondDefault("VideoFrame"), "23");
  EXPECT_EQ(BuildSettingsPath("ZEL Pro"), "Software\\Calder\\ZEL_Pro\\Settings");
}

}  // namespace
}  // namespace zel::test
