// The settings rows: the two row sets and their conditions, the kinds the list
// gets, the effects of a change, the commands, and the shortcuts in a scratch home.
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "base/FileHelpers.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/SettingsRows.h"
#include "jobs/Strings.h"

namespace zel::test {
namespace {

// Sets an environment variable for a test's length.
using test::EnvGuard;

// Every call of the window, as one line.
class PanelHost : public SettingsPanelHost {
 public:
  std::vector<std::string> calls;

  void RebuildSettingRows() override { calls.push_back("rebuild"); }
  void ShowRowValue(std::string_view key, std::string_view value) override { Log("value", key, value); }
  void ShowRowLabel(std::string_view key, std::string_view label) override { Log("label", key, label); }
  void SetAviSynthButton(std::string_view caption) override { Log("button", caption); }
  void SetSplitLabels(std::string_view start, std::string_view end) override { Log("split", start, end); }
  void SetPlayerProperty(const PlayerSetting& s) override {
    Log("player " + std::to_string(static_cast<int>(s.property)), s.key,
        s.text + " " + FormatNumber(s.number) + (s.flag ? " yes" : " no"));
  }
  void SetEngineLog(bool on) override { Log("log", on ? "on" : "off"); }
  void SetEngineStatusRefreshInterval(int ms) override { Log("refresh", std::to_string(ms)); }
  void SetListLook(ListLook look, bool on) override {
    Log("look " + std::to_string(static_cast<int>(look)), on ? "on" : "off");
  }
  void SetTaskThumbnails(bool on) override { Log("thumbnails", on ? "on" : "off"); }
  void RunGuideStep(GuideStep step) override { Log("guide", std::to_string(static_cast<int>(step))); }
  void ShowMessage(std::string_view text) override { Log("message", text); }

 private:
  void Log(std::string what, std::string_view a, std::string_view b = {}) {
    calls.push_back(what + " " + std::string(a) + (b.empty() ? "" : " " + std::string(b)));
  }
};

class SettingsRowsTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    Shared().ProgramPath = "/opt/zel/zel";
    context.lists = BuildValueLists({.formats = "MP4|AVI", .video = "LIBX264|MPEG4", .audio = "AAC", .subtitle = "SRT"});
  }
  std::vector<SettingRow> Rows(bool full) {
    return BuildSettingsRows(full, context, [](std::string_view key) { return ReadSetting(key); });
  }
  const SettingRow* Find(const std::vector<SettingRow>& rows, std::string_view keyOrLabel) {
    auto it = std::find_if(rows.begin(), rows.end(), [&](const SettingRow& r) {
      return r.key == keyOrLabel || (r.key.empty() && r.label == keyOrLabel);
    });
    return it == rows.end() ? nullptr : &*it;
  }
  // Keys, and the labels of heads and notes in brackets, in the order shown.
  std::string Outline(const std::vector<SettingRow>& rows) {
    std::string outline;
    for (const SettingRow& r : rows) outline += (r.key.empty() ? "[" + r.label + "]" : r.key) + " ";
    return outline;
  }

  EnvGuard home{"HOME", dir.path()};
  EnvGuard config{"XDG_CONFIG_HOME", dir / "config"};
  EnvGuard data{"XDG_DATA_HOME", dir / "data"};
  SettingRowsContext context;
  PanelHost panel;
};

TEST_F(SettingsRowsTest, FullSetFollowsKindFormatTwoPassAndAviSynth) {
  const struct {
    int kind;
    const char *output, *twopass, *avs;
    bool karaoke, pass1, avsRows;
    const char* codecs;
  } cases[] = {
      {kProductGeneral, "MP4", "否", "否", false, false, false, "禁用视频|LIBX264|MPEG4|"},
      {kProductKaraoke, "rmvb", "是", "是", true, true, true, "RV8|RV10"},
      {kProductGeneral, "RMVB", "否", "是", false, false, true, "RV8|RV10"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.output);
    context.productKind = c.kind;
    WriteSetting("OutputMode", c.output);
    WriteSetting("Twopass", c.twopass);
    WriteSetting("AVSEnable", c.avs);
    const std::vector<SettingRow> rows = Rows(true);
    EXPECT_EQ(Find(rows, "音乐视频设置") != nullptr, c.karaoke);
    EXPECT_EQ(Find(rows, "KTVSubtitleStyle") != nullptr, c.karaoke);
    EXPECT_EQ(Find(rows, "AdditionalPass1Scripts") != nullptr, c.pass1);
    EXPECT_EQ(Find(rows, "AVSEnable") != nullptr, c.avsRows);
    EXPECT_EQ(Find(rows, "AVSAudioReplaceVolume") != nullptr, c.avsRows);
    EXPECT_EQ(Find(rows, StrRowsAviSynthNote) != nullptr, !c.avsRows);
    EXPECT_EQ(std::count_if(rows.begin(), rows.end(), [](const SettingRow& r) { return r.key == "VideoCodec"; }), 1);
    EXPECT_EQ(Find(rows, "VideoCodec")->values, c.codecs);
  }
  // The order of the groups and of the rows around the conditional ones.
  context.productKind = kProductKaraoke;
  WriteSetting("Twopass", "是");
  const std::string outline = Outline(Rows(true));
  for (const char* run :
       {"[点击项目说明文字, 可以使相应项目设置恢复初始数值.] [音乐视频设置] KTVMusicFileName KTVSubtitleFileName",
        "[视频设置] VideoCodec VideoSize VideoBitrate VideoFrame VideoAspect VideoPadBorder Deinterlace Twopass",
        "VideoCropRight ResetCrop VideoPadTop", "AdditionalScripts AdditionalPass1Scripts [著作信息] InfoTitle",
        "[AVS 支持] AVSEnable AVSFileJoin [字幕文字设置] AVSSubtitle",
        "AVSAudioReplaceVolume [播放器设置] MediaPlayNow",
        "[创建快捷方式] CreateShortcut1 CreateShortcut2 [工具设置] CompareWindowVerticalLayout [程序设置] ShowTip",
        "ShowSetting StatusRefreshInterval MaxThreads Log ShowStatus DoNotIgnoreError InitialNewSetting "}) {
    EXPECT_NE(outline.find(run), std::string::npos) << run << "\nin: " << outline;
  }
  EXPECT_TRUE(EndsWith(outline, "InitialNewSetting "));
  // Every row has its label.
  for (const SettingRow& r : Rows(true)) EXPECT_FALSE(r.label.empty()) << r.key;
}

TEST_F(SettingsRowsTest, ShortSetEndsWithTheGuideNumberedByMode) {
  const std::string shortRows =
      "[点击项目说明文字, 可以使相应项目设置恢复初始数值.] [视频设置] VideoCodec VideoSize VideoBitrate VideoFrame "
      "VideoAspect VideoPadBorder Deinterlace [音频设置] AudioCodec AudioBitrate AudioSample AudioChannels "
      "AudioVolume [图象设置] ImageSize ImageQuality [快速使用向导] ";
  const struct {
    int kind;
    const char* output;
    const char* steps;
    bool enabled;
  } cases[] = {
      {kProductGeneral, "MP4", "tip1 tip2 tip3 tip4 tip5 tip6 tip7 ", true},
      {kProductGeneral, "直接剪切", "tip1 tip2 tip3 tip4 tip6 tip7 ", false},
      {kProductGeneral, "直接合并", "tip1 tip8 tip2 tip4 tip6 tip7 ", false},
      {kProductKaraoke, "MP4", "tip1 tip9 tip10 tip2 tip4 tip5 tip6 tip7 ", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.output);
    context.productKind = c.kind;
    WriteSetting("OutputMode", c.output);
    const std::vector<SettingRow> rows = Rows(false);
    EXPECT_EQ(Outline(rows), shortRows + c.steps);
    EXPECT_EQ(Find(rows, "VideoBitrate")->enabled, c.enabled);
    EXPECT_EQ(Find(rows, "快速使用向导")->note, "按顺序点击向导项目可以快速开始");
    EXPECT_EQ(Find(rows, "tip1")->label, "1、添加文件");
    EXPECT_EQ(rows.back().label,
              std::to_string(std::count(c.steps, c.steps + std::strlen(c.steps), ' ')) + "、浏览保存目录");
  }
  WriteSetting("OutputMode", "MP4");
  context.productKind = kProductGeneral;
  const std::vector<SettingRow> rows = Rows(false);
  const struct {
    const char *key, *label, *hint;
  } steps[] = {{"tip2", "2、预览播放", "播放被选定的打开文件"},
               {"tip3", "3、设置开始点、结束点或分段数", "设置切割参数"},
               {"tip4", "4、设置保存目录", "设置输出文件的路径"},
               {"tip5", "5、更多详细设置", "进入设置窗口修改更多自定义设置"},
               {"tip6", "6、开始执行操作", "开始执行所有任务"}};
  for (const auto& s : steps) {
    EXPECT_EQ(Find(rows, s.key)->label, s.label);
    EXPECT_EQ(Find(rows, s.key)->note, s.hint);
  }
}

TEST_F(SettingsRowsTest, RowsCarryKindValueUnitAndTheListControlGetsThem) {
  WriteSetting("VideoBitrate", "777");  // off the list: shown as it stands
  WriteSetting("AVSEnable", "是");
  WriteSetting("AVSLayOverColor", "0");
  ListboxModel list;
  list.AddItem("stale");
  FillSettingsList(list, Rows(true));
  const struct {
    const char* key;
    SettingKind kind;
    int mode;
    const char *value, *unit;
  } cases[] = {
      {"VideoBitrate", SettingKind::Choice, 1, "777", ""},
      {"SubtitleOffset", SettingKind::Choice, 1, "-0.2", "s"},
      {"SubtitleTimeOffset", SettingKind::Choice, 1, "-0.2", "s"},
      {"ImageQuality", SettingKind::Choice, 1, "85", "%"},
      {"StatusRefreshInterval", SettingKind::Choice, 1, "500", "ms"},
      {"SubtitleLang", SettingKind::Text, 0, "", ""},
      {"ImageGrabberBackColor", SettingKind::Colour, 2, "&HFFFFFF", ""},
      {"AVSLayOverColor", SettingKind::Colour, 2, "&H0", ""},
      {"AVSSubtitleFont", SettingKind::Font, 5, "Trebuchet MS, 20, False, False, 0, False, False, 400", ""},
      {"MediaPlayerFontName", SettingKind::FontName, 8, "Trebuchet MS", ""},
      {"AVSLogoTextTimeEnd", SettingKind::Time, 0, "00:00:20,000", ""},
      {"AVSInsertVideoFileName", SettingKind::File, 3, "", ""},
      {"AVSOverallSubtitle", SettingKind::File, 3, "", ""},
      {"ResetPad", SettingKind::Command, -1, "", ""},
      {"InfoCopyright", SettingKind::Text, 0, "影音工坊", ""},
  };
  const std::vector<SettingRow> rows = Rows(true);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    const SettingRow* row = Find(rows, c.key);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->kind, c.kind);
    EXPECT_EQ(row->value, c.value);
    EXPECT_EQ(row->unit, c.unit);
    const ListItem& item = list.Items()[static_cast<size_t>(list.ListIndexFromKey(c.key))];
    EXPECT_EQ(item.ItemMode, c.mode);
    EXPECT_EQ(item.Text, c.value);
    EXPECT_EQ(item.Tag1Text, c.unit);
    EXPECT_EQ(item.TitleText, row->label);
    EXPECT_EQ(item.AddString, KindName(c.kind));
    EXPECT_EQ(item.FileClear, c.kind == SettingKind::File);
  }
  EXPECT_EQ(list.ListIndexFromKey("stale"), -1);
  EXPECT_EQ(list.ComboItemFromKey("AudioChannels"), "|1|2|6");
  EXPECT_EQ(list.ComboListIndexFromKey("Deinterlace"), 1);  // "是|否", stored 否
  EXPECT_EQ(list.TextCommentFromKey("InitialNewSetting"), "谨慎修改，推荐默认值");
  EXPECT_NE(list.Items()[static_cast<size_t>(list.ListIndexFromKey("AVSInsertVideoFileName"))].FileFilter.find(
                "视频文件|*.rmvb;"),
            std::string::npos);
  EXPECT_EQ(KindByKeyForm("AnyTimeStart"), SettingKind::Time);
  EXPECT_EQ(KindByKeyForm("SomeFileName"), SettingKind::File);
}

TEST_F(SettingsRowsTest, EveryEffectReachesTheHostAfterTheStoreIsWritten) {
  const struct {
    const char *key, *value, *stored;
    std::vector<std::string> calls;
  } cases[] = {
      {"ShowSetting", "主界面", "主界面", {"rebuild"}},
      {"Twopass", "是", "是", {"rebuild"}},
      {"AVSEnable", "是", "是", {"button 关闭 AVS 支持", "rebuild"}},
      {"AVSEnable", "否", "否", {"button 打开 AVS 支持", "rebuild"}},
      {"SplitMode", "去头尾", "去头尾", {"split 去开始 去结束"}},
      {"SplitMode", "点到点", "点到点", {"split 开始点 结束点"}},
      // The run cuts lengths only for 去头尾; the labels must not say otherwise.
      {"SplitMode", "头尾", "头尾", {"split 开始点 结束点"}},
      {"TimeJumpValue", "-1", "-1", {"player 0 TimeJumpValue -1 -1 no"}},
      {"SubtitleTimeOffset", "0.5", "0.5", {"player 1 SubtitleTimeOffset 0.5 0.5 no"}},
      {"ImageTransEffects", "随机平移", "随机平移", {"player 2 ImageTransEffects 随机平移 -2 no"}},
      {"ImageTransEffects", "向右切入", "向右切入", {"player 2 ImageTransEffects 向右切入 2 no"}},
      {"ImageTransEffects", "没有这个", "没有这个", {"player 2 ImageTransEffects 没有这个 1 no"}},
      {"PlayerRepeat", "重复", "重复", {"player 3 PlayerRepeat 重复 0 yes"}},
      {"SystemVolume", "否", "否", {"player 4 SystemVolume 否 0 no"}},
      {"Aspect", "居中缩放", "居中缩放", {"player 5 Aspect 居中缩放 2 no"}},
      {"MediaPlayerFontName", "Noto Sans", "Noto Sans", {"player 6 MediaPlayerFontName Noto Sans 0 no"}},
      {"AllowLoadSubtitle", "是", "是", {"player 7 AllowLoadSubtitle 是 0 yes"}},
      {"Log", "是", "是", {"log on"}},
      {"StatusRefreshInterval", "1500", "1500", {"refresh 1500"}},
      {"StatusRefreshInterval", "快", "快", {"refresh 500"}},
      {"ShowSystemScrollBar", "是", "是", {"look 0 on"}},
      {"ShowItemFocus", "否", "否", {"look 1 off"}},
      {"CheckMediaInfo", "是", "是", {"thumbnails on"}},
      {"VideoBitrate", "777", "777", {}},
      {"KTVSubtitleEffectColor", "&H00ff00&", "FF00", {}},
      {"VideoPadColor", "&H0", "0", {}},
      {"AVSLayOverColor", "黑色", "黑色", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " " + c.value);
    panel.calls.clear();
    ApplySettingChange(c.key, c.value, panel);
    EXPECT_EQ(ReadSetting(c.key), c.stored);
    EXPECT_EQ(panel.calls, c.calls);
  }
  EXPECT_TRUE(ShortSetOnMainScreen([](std::string_view key) { return ReadSetting(key); }));
  EXPECT_EQ(Find(Rows(true), "KTVSubtitleEffectColor"), nullptr);  // the general kind has no karaoke rows
  context.productKind = kProductKaraoke;
  EXPECT_EQ(Find(Rows(true), "KTVSubtitleEffectColor")->value, "&HFF00");

  // A window just built takes what the store holds, with no rebuild.
  panel.calls.clear();
  ApplyStoredSettingEffects([](std::string_view key) { return ReadSetting(key); }, panel);
  EXPECT_EQ(panel.calls.size(), 15u);
  EXPECT_EQ(panel.calls.front(), "button 打开 AVS 支持");
  EXPECT_EQ(std::count(panel.calls.begin(), panel.calls.end(), "rebuild"), 0);
}

TEST_F(SettingsRowsTest, CommandsLabelClicksAndGuideSteps) {
  for (const char* key : {"VideoCropTop", "VideoCropRight", "VideoPadLeft", "VideoPadBottom"}) WriteSetting(key, "8");
  EXPECT_TRUE(RunSettingCommand("ResetCrop", panel));
  ApplySettingChange("ResetPad", "", panel);
  EXPECT_EQ(panel.calls,
            (std::vector<std::string>{"value VideoCropTop 0", "value VideoCropBottom 0", "value VideoCropLeft 0",
                                      "value VideoCropRight 0", "value VideoPadTop 0", "value VideoPadBottom 0",
                                      "value VideoPadLeft 0", "value VideoPadRight 0"}));
  for (const char* key : {"VideoCropTop", "VideoCropRight", "VideoPadLeft", "VideoPadBottom"})
    EXPECT_EQ(ReadSetting(key), "0");
  EXPECT_EQ(ReadSetting("ResetPad", "absent"), "absent");

  panel.calls.clear();
  WriteSetting("VideoBitrate", "777");
  WriteSetting("SplitMode", "去头尾");
  EXPECT_EQ(RestoreDefault("VideoBitrate", panel), "5vbr");
  EXPECT_EQ(ReadSetting("VideoBitrate", ""), "5vbr");
  EXPECT_EQ(RestoreDefault("SplitMode", panel), "点到点");
  EXPECT_EQ(RestoreDefault("ImageGrabberForeColor", panel), "&H202020");
  EXPECT_EQ(ReadSetting("ImageGrabberForeColor", ""), "202020");
  EXPECT_EQ(RestoreDefault("NoSuchKey", panel), "");
  EXPECT_EQ(ReadSetting("NoSuchKey", "absent"), "absent");
  EXPECT_EQ(panel.calls, std::vector<std::string>{"split 开始点 结束点"});

  panel.calls.clear();
  EXPECT_TRUE(RunSettingCommand("tip3", panel));
  EXPECT_TRUE(RunSettingCommand("tip10", panel));
  EXPECT_FALSE(RunSettingCommand("VideoBitrate", panel));
  EXPECT_EQ(panel.calls, (std::vector<std::string>{"guide 2", "guide 9"}));
}

TEST_F(SettingsRowsTest, ShortcutsAreCreatedAndRemovedWhereTheDesktopLooks) {
  ASSERT_TRUE(MakedPath(dir / "config"));
  ASSERT_TRUE(WriteFileAtomic(dir / "config/user-dirs.dirs",
                              "# written by xdg-user-dirs-update\n"
                              "XDG_DESKTOP_DIR=\"$HOME/桌面\"\nXDG_MUSIC_DIR=\"$HOME/x\"\n"));
  const std::string desktop = dir / "桌面/zel.desktop", openWith = dir / "data/applications/zel-open-with.desktop";
  EXPECT_EQ(ShortcutPath(ShortcutPlace::Desktop), desktop);
  EXPECT_EQ(Find(Rows(true), "CreateShortcut1")->label, "在桌面创建快捷方式");

  const struct {
    const char* key;
    std::string path;
    const char *removeLabel, *createLabel;
  } cases[] = {{"CreateShortcut1", desktop, "移除桌面快捷方式", "在桌面创建快捷方式"},
               {"CreateShortcut2", openWith, "移除发送到菜单快捷方式", "增加快捷方式到发送到菜单"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.key);
    panel.calls.clear();
    ApplySettingChange(c.key, "", panel);
    ASSERT_TRUE(FileExists(c.path));
    EXPECT_EQ(Find(Rows(true), c.key)->label, c.removeLabel);
    EXPECT_TRUE(RunSettingCommand(c.key, panel));
    EXPECT_FALSE(FileExists(c.path));
    EXPECT_EQ(panel.calls, (std::vector<std::string>{
                               "message 快捷方式已经创建。", std::string("label ") + c.key + " " + c.removeLabel,
                               "message 快捷方式已经移除。", std::string("label ") + c.key + " " + c.createLabel}));
  }
  ASSERT_TRUE(CreateShortcut(ShortcutPlace::Desktop, "/opt/my \"zel\" $dir/100%/zel", "影音工坊"));
  struct stat info {};
  ASSERT_EQ(::stat(desktop.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0755u);
  const std::string entry = ReadText(desktop);
  EXPECT_NE(entry.find("\nExec=\"/opt/my \\\\\"zel\\\\\" \\\\$dir/100%%/zel\" %F\n"), std::string::npos) << entry;
  EXPECT_NE(entry.find("\nName=影音工坊\n"), std::string::npos);
  EXPECT_EQ(entry.find("MimeType="), std::string::npos);
  EXPECT_NE(DesktopEntryText("/z", "n", ShortcutPlace::OpenWith).find("\nMimeType=video/mp4;"), std::string::npos);
  EXPECT_EQ(DesktopEntryText("/a\nb", "n", ShortcutPlace::Desktop), "");

  // Without the user's folder list the desktop is ~/Desktop; a data folder
  // that cannot be made is reported with the entry's path.
  ASSERT_TRUE(DeleteFile(dir / "config/user-dirs.dirs"));
  EXPECT_EQ(DesktopFolder(), dir / "Desktop/");
  ASSERT_TRUE(WriteFileAtomic(dir / "blocked", "a file"));
  EnvGuard blocked("XDG_DATA_HOME", dir / "blocked");
  panel.calls.clear();
  RunSettingCommand("CreateShortcut2", panel);
  EXPECT_EQ(panel.calls.front(), "message 无法写入快捷方式: " + dir / "blocked/applications/zel-open-with.desktop");
}

}  // namespace
}  // namespace zel::test
