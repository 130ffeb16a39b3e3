// Task rows, the information list and the check before a run.
#include <map>

#include "jobs/JobsTestSupport.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/Tasks.h"
#include "base/FileHelpers.h"

namespace zel::test {
namespace {

using Values = std::map<std::string, std::string, std::less<>>;

class CheckTasksTest : public StoreTest {
 protected:
  // Settings as given, the store's defaults for the rest; the lines the check wrote.
  std::vector<std::string> Check(const Values& values, bool* result = nullptr, int rows = 1) {
    ListboxModel tasks;
    for (int i = 0; i < rows; ++i) AddToTaskList(tasks, dir / ("clip" + std::to_string(i) + ".mp4"));
    InfoList info(host);
    const SettingReader read = [&values](std::string_view key) {
      const auto found = values.find(key);
      return found != values.end() ? found->second : SettingDefault(key);
    };
    const bool passed = CheckTasks(tasks, read, info, host, CheckContext{});
    if (result != nullptr) *result = passed;
    return info.Lines();
  }
};

TEST_F(CheckTasksTest, RefusalsStopAtOnceWhateverTheErrorSetting) {
  struct Case {
    Values values;
    int rows;
    bool answer;
    std::string line;
  };
  const std::string folder = dir.path();
  const Case cases[] = {
      {{}, 0, true, "问题 | 请先添加任务"},
      {{{"OutputMode", "MoveTo"}, {"OutputFolder", ""}}, 1, true, "问题 | 文件不需要移动到原始目录。"},
      {{{"OutputMode", "moveto"}, {"OutputFolder", folder}}, 1, false, "问题 | 指定任务已被取消"},
      {{{"SplitPart", "0"}, {"DoNotIgnoreError", "否"}}, 1, true, "问题 | 请设置有效的分段数量"},
  };
  for (const Case& c : cases) {
    host.answer = c.answer;
    bool passed = true;
    EXPECT_EQ(Check(c.values, &passed, c.rows), std::vector<std::string>{c.line});
    EXPECT_FALSE(passed) << c.line;
  }
  // Only the move into an existing folder asks.
  EXPECT_EQ(host.questions, std::vector<std::string>{std::string(StrMoveQuestion)});
}

TEST_F(CheckTasksTest, FormatRulesCountProblemsAndNotesAndFollowTheErrorSetting) {
  const Values mobileStereo{{"OutputMode", "3GP"},   {"VideoSize", "320x240"}, {"AudioSample", "8000"},
                            {"AudioChannels", "2"}, {"AudioBitrate", "12.2"}};
  const std::vector<std::string> expected{
      "注意 | 编码格式只支持 128x96, 176x144, 352x288, 704x576 等分辨率",
      "问题 | 编码格式只支持单声道音频设置",
  };
  bool passed = true;
  EXPECT_EQ(Check(mobileStereo, &passed), expected);
  EXPECT_FALSE(passed);

  Values ignoring = mobileStereo;
  ignoring["DoNotIgnoreError"] = "否";
  EXPECT_EQ(Check(ignoring, &passed), expected);
  EXPECT_TRUE(passed);

  // A size note alone never stops a run; the rate test is numeric.
  EXPECT_EQ(Check({{"OutputMode", "h263"}, {"VideoSize", "176x144"}, {"AudioSample", "8000.0"},
                   {"AudioChannels", "1"}, {"AudioBitrate", "12.20"}},
                  &passed),
            std::vector<std::string>{});
  EXPECT_TRUE(passed);

  // The MEncoder form is another name: none of the rows apply.
  EXPECT_EQ(Check({{"OutputMode", "3gp/me"}, {"AudioChannels", "2"}}), std::vector<std::string>{});

  EXPECT_EQ(Check({{"Twopass", "是"}, {"VideoBitrate", "4vbr"}}),
            std::vector<std::string>{"问题 | 2Pass 编码时请设定为视频恒定码率"});
  EXPECT_EQ(Check({{"OutputMode", "FLV"}, {"AudioSample", "48000"}}),
            std::vector<std::string>{"问题 | 编码格式只支持 11025、22050、44100 数值的音频采样设置"});
  EXPECT_EQ(Check({{"OutputMode", "ogg"}, {"AudioChannels", "1"}}),
            std::vector<std::string>{"问题 | 编码格式不支持单声道音频设置"});
  // The direct modes skip the format rules.
  EXPECT_EQ(Check({{"OutputMode", "直接剪切"}, {"Twopass", "是"}, {"VideoBitrate", "4vbr"}}),
            std::vector<std::string>{});
}

TEST_F(CheckTasksTest, NotesComeInTheirOrder) {
  const Values values{{"OutputMode", "rmvb"},     {"VideoCropLeft", "8"},      {"VideoPadBorder", "16:9"},
                      {"AudioVolume", "150%"},    {"SplitPart", "2"},          {"FileSuffix", "mkv"}};
  EXPECT_EQ(Check(values), (std::vector<std::string>{
                               "注意 | 视频画面设置 | 已被设置",
                               "注意 | 强制边框 | 已被设置",
                               "注意 | 音频音量 | 已被设置",
                               "注意 | 输出格式为 RMVB 时切割设置无效",
                               "注意 | 切割设置 | 已被设置",
                               "注意 | 强制容器格式 | 已被设置",
                           }));
  EXPECT_EQ(Check({{"AudioVolume", "100%"}}), std::vector<std::string>{});
}

TEST_F(StoreTest, TaskRowsAndTheirCutRecords) {
  WriteText("0123456789", dir / "Clip.One.mkv", false);
  ListboxModel tasks;
  AddToTaskList(tasks, dir / "Clip.One.mkv");
  AddToTaskList(tasks, dir / "cover.png");
  ASSERT_EQ(tasks.ListCount(), 2);
  EXPECT_EQ(tasks.List(0), "Clip.One");
  EXPECT_EQ(tasks.ListComment(0), "MKV, 11B");
  EXPECT_EQ(tasks.ListOther(0), "|||");
  EXPECT_EQ(tasks.Tag1Text(0), "音频: 自动");
  EXPECT_EQ(tasks.Tag1Text(1), "");
  EXPECT_NE(tasks.ListKey(0), tasks.ListKey(1));

  struct Case {
    std::string record, start, end, parts;
  };
  for (const Case& c : {Case{"|||", "", "", ""}, Case{"", "", "", ""}, Case{"0|0|0|", "0", "0", "0"},
                        Case{"00:00:10,000|00:00:20,000|2|", "00:00:10,000", "00:00:20,000", "2"}}) {
    const CutRecord cut = ParseCutRecord(c.record);
    EXPECT_EQ(cut.start + "/" + cut.end + "/" + cut.parts, c.start + "/" + c.end + "/" + c.parts) << c.record;
  }
  EXPECT_EQ(CutRecordText("00:00:10,000", "00:00:20,000", "2.0"), "00:00:10,000|00:00:20,000|2|");
  EXPECT_EQ(CutComment("1", "2", "3"), "[ 开始点 1 ] - [ 结束点 2 ] / [ 分段数 3 ]");

  // Points reach only the selected row, and only while it is the previewed file.
  const std::string clip = dir / "Clip.One.mkv";
  EXPECT_FALSE(WriteCutToSelectedTask(tasks, clip, "00:00:01,000", "00:00:02,000", "1"));
  tasks.SetListIndex(1);
  EXPECT_FALSE(WriteCutToSelectedTask(tasks, clip, "00:00:01,000", "00:00:02,000", "1"));
  tasks.SetListIndex(0);
  EXPECT_TRUE(WriteCutToSelectedTask(tasks, clip, "00:00:01,000", "00:00:02,000", "3"));
  EXPECT_EQ(tasks.ListOther(0), "00:00:01,000|00:00:02,000|3|");
  EXPECT_EQ(tasks.ListComment(0), "[ 开始点 00:00:01,000 ] - [ 结束点 00:00:02,000 ] / [ 分段数 3 ]");
  EXPECT_EQ(tasks.ListOther(1), "|||");

  // "复制媒体信息": the tool's "Input #" blocks without its banner or its
  // complaint about a missing output; the row's comment when it printed none.
  struct Facts {
    std::string toolText, expected;
  };
  const std::string banner = "ffmpeg version 5.1\r\n  built with gcc\r\n";
  const std::string input0 = "Input #0, matroska, from 'a.mkv':\n  Duration: 00:00:02.00\n    Stream #0:0: Video: h264\n";
  for (const Facts& f : {
           Facts{banner + input0 + "At least one output file must be specified\n",
                 "/a.mkv\nInput #0, matroska, from 'a.mkv':\n  Duration: 00:00:02.00\n    Stream #0:0: Video: h264"},
           Facts{input0 + "Input #1, wav, from 'b.wav':\n  Duration: 00:00:01.00\n",
                 "/a.mkv\nInput #0, matroska, from 'a.mkv':\n  Duration: 00:00:02.00\n    Stream #0:0: Video: h264"
                 "\nInput #1, wav, from 'b.wav':\n  Duration: 00:00:01.00"},
           Facts{banner + "/a.mkv: Invalid data found when processing input\n", "/a.mkv\nMKV, 11B"},
           Facts{"", "/a.mkv\nMKV, 11B"},
       }) {
    EXPECT_EQ(MediaInfoText("/a.mkv", f.toolText, "MKV, 11B"), f.expected) << f.toolText;
  }

  EXPECT_EQ(SourceKindOf("/a/b.JPG"), SourceKind::Image);
  EXPECT_EQ(SourceKindOf("/a/b.srt"), SourceKind::Subtitle);
  EXPECT_EQ(SourceKindOf("/a/b.webm"), SourceKind::Video);
  EXPECT_EQ(SourceKindOf("/a/b.flac"), SourceKind::Audio);
  EXPECT_EQ(SourceKindOf("e:"), SourceKind::Disc);
  EXPECT_EQ(SourceKindOf("/a.d/noextension"), SourceKind::Other);
}

TEST_F(StoreTest, InformationListClearsPastAThousandLines) {
  InfoList info(host);
  std::string caption;
  info.StatusCaption = [&caption](const std::string& text) { caption = text; };
  for (int i = 0; i < 1001; ++i) info.Add(StrInfoNotice, std::to_string(i));
  EXPECT_EQ(info.Lines().size(), 1001u);
  info.Add(StrStartingTask, {}, true);
  EXPECT_EQ(info.Lines(), std::vector<std::string>{"正在启动任务"});
  EXPECT_EQ(caption, "正在启动任务  ");
  info.ReplaceLast("/o/a.mp4 | 完成");
  EXPECT_EQ(info.Last(), "/o/a.mp4 | 完成");
  EXPECT_EQ(host.infos.size(), 1002u);
}

}  // namespace
}  // namespace zel::test
