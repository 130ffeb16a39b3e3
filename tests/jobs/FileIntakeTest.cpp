// How files reach the task list, the list commands, the result list's files
// and the search addresses.
#include "jobs/FileIntake.h"

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <thread>

#include "base/FileHelpers.h"
#include "jobs/FormatCatalogue.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/ListboxModel.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "jobs/TaskLoop.h"
#include "jobs/Tasks.h"

namespace zel::test {
namespace {

using Paths = std::vector<std::string>;

using test::EnvGuard;

// Root reads every folder. Capabilities belong to a thread, and the threads it
// starts inherit them, so a thread that gives up the override walks as anyone else.
bool DropReadOverride() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2]{};
  if (::syscall(SYS_capget, &header, data) != 0) return false;
  data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
  return ::syscall(SYS_capset, &header, data) == 0;
}

void Touch(const std::string& path, const std::string& text = "x") {
  MakedPath(FolderOf(path));
  WriteText(text, path, false);
}

Paths RowPaths(const ListboxModel& list) {
  Paths paths;
  for (const ListItem& item : list.Items()) paths.push_back(item.Path);
  return paths;
}

// What a scan reported, in order.
struct ScanLog {
  Paths found;
  std::vector<size_t> counts;
  int finished = 0;
  size_t finalCount = 0;
  bool canceled = false;

  void Attach(FolderScan& scan) {
    scan.Found = [this](const Paths& paths, size_t count) {
      found.insert(found.end(), paths.begin(), paths.end());
      counts.push_back(count);
    };
    scan.Finished = [this](size_t count, bool wasCanceled) {
      ++finished;
      finalCount = count;
      canceled = wasCanceled;
    };
  }
};

// 1000 empty supported files in ten folders, made without the atomic writes of Touch.
std::string BigTree(const TempDir& dir) {
  const std::string root = dir / "big";
  for (int folder = 0; folder < 10; ++folder) {
    const std::string sub = root + "/f" + std::to_string(folder) + "/";
    MakedPath(sub);
    for (int file = 0; file < 100; ++file) {
      ::close(::open((sub + "clip" + std::to_string(file) + ".mp4").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    }
  }
  return root;
}

TEST(FileIntake, FilterMembershipGoesByWholeExtensions) {
  struct Case {
    std::string_view path;
    bool video, audio, subtitle, image;
  };
  const Case cases[] = {
      {"/v/clip.MP4", true, false, false, false},
      {"/v/song.Flac", false, true, false, false},
      {"/v/lines.srt", false, false, true, false},
      {"/v/shot.JPEG+THM", false, false, false, true},
      {"/v/clip.m", false, false, false, false},      // a piece of "*.mp4" is no extension
      {"/v/clip.mp", false, false, false, false},
      {"/v.mp4/clip", false, false, false, false},    // no extension; the folder's point is none
      {"/v/clip.", false, false, false, false},
      {"/v/clip.mp4.part", false, false, false, false},
      {"/v/ripped.m2ts", true, false, false, false},  // the long lists hold what FFmpeg reads
      {"/v/book.m4b", false, true, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path));
    EXPECT_EQ(InFilter(c.path, kVideoFilter), c.video);
    EXPECT_EQ(InFilter(c.path, kAudioFilter), c.audio);
    EXPECT_EQ(InFilter(c.path, kSubtitleFilter), c.subtitle);
    EXPECT_EQ(InFilter(c.path, kImageFilter), c.image);
    EXPECT_EQ(IsSupportedFile(c.path), c.video || c.audio || c.subtitle || c.image);
  }

  const std::vector<FileFilterRow> rows = OpenDialogFilters();
  Paths labels;
  for (const FileFilterRow& row : rows) labels.push_back(row.label);
  EXPECT_EQ(labels, (Paths{"所有支持的格式", "所有文件格式", "视频格式", "音频格式", "字幕格式", "图像格式"}));
  EXPECT_EQ(rows[1].pattern, "*.*");
  for (size_t i = 2; i < rows.size(); ++i) {
    EXPECT_TRUE(Contains(rows[0].pattern, rows[i].pattern)) << rows[i].label;
  }
}

TEST_F(StoreTest, TheOpenDialogStartsWhereTheLastChoiceWas) {
  EnvGuard home("HOME", dir / "home");
  MakedPath(dir / "home");
  EXPECT_EQ(OpenDialogFolder(), dir / "home/");
  RememberOpenFolder({dir / "clips/a.mp4", dir / "other/b.mp4"});
  EXPECT_EQ(ReadSetting("LastOpenFileFolder"), dir / "clips/");
  EXPECT_EQ(OpenDialogFolder(), dir / "home/") << "a folder that is gone is not offered";
  MakedPath(dir / "clips");
  EXPECT_EQ(OpenDialogFolder(), dir / "clips/");
  RememberOpenFolder({});
  EXPECT_EQ(ReadSetting("LastOpenFileFolder"), dir / "clips/");
}

TEST(FolderScan, BreadthFirstSortedFilteredAndSafeFromLoopsAndLockedFolders) {
  TempDir dir;
  const std::string root = dir / "root";
  for (const char* name : {"b.mp4", "a.MKV", "notes.doc", "mp4", "sub2/c.mp3", "sub1/d.srt",
                           "sub1/deeper/e.png", "locked/f.mp4"}) {
    Touch(root + "/" + name);
  }
  ::symlink(root.c_str(), (root + "/loop").c_str());
  ::symlink("b.mp4", (root + "/link.avi").c_str());
  ::symlink("/nowhere/x.mp4", (root + "/broken.mp4").c_str());
  ::chmod((root + "/locked").c_str(), 0);

  FolderScan scan;
  ScanLog log;
  log.Attach(scan);
  bool dropped = false;
  std::thread([&] {
    dropped = DropReadOverride();
    scan.Start({root});
    scan.Wait();
  }).join();
  EXPECT_TRUE(scan.Running()) << "running until the end is delivered";
  scan.DeliverFinished();
  ::chmod((root + "/locked").c_str(), 0755);

  EXPECT_TRUE(dropped);
  const Paths expected{root + "/a.MKV",      root + "/b.mp4",       root + "/link.avi",
                       root + "/sub1/d.srt", root + "/sub2/c.mp3", root + "/sub1/deeper/e.png"};
  EXPECT_EQ(log.found, expected);
  EXPECT_EQ(log.counts.back(), expected.size());
  EXPECT_EQ(log.finished, 1);
  EXPECT_EQ(log.finalCount, expected.size());
  EXPECT_FALSE(log.canceled);
  EXPECT_FALSE(scan.Running());
}

TEST(FolderScan, ACancelStopsTheWalkAndANewWalkSilencesTheOld) {
  TempDir dir;
  const std::string big = BigTree(dir);
  Touch(dir / "small/one.mp4");

  // The poster runs each answer at once on the walk's own thread, so the
  // cancel comes while the walk has found only its first batch; a walk that
  // went on would post more.
  for (const bool shared : {false, true}) {
    SCOPED_TRACE(shared ? "CancelFileSearches" : "Cancel");
    FolderScan* self = nullptr;
    int posted = 0;
    FolderScan scan([&posted](std::function<void()> answer) {
      ++posted;
      answer();
    });
    self = &scan;
    ScanLog log;
    log.Attach(scan);
    scan.Found = [&log, self, shared, found = scan.Found](const Paths& paths, size_t count) {
      found(paths, count);
      shared ? CancelFileSearches() : self->Cancel();
    };
    scan.Start({big});
    scan.Wait();
    EXPECT_EQ(posted, 2) << "the first batch and the end";
    EXPECT_EQ(log.counts.size(), 1u);
    EXPECT_GT(log.found.size(), 0u);
    EXPECT_LE(log.found.size(), 100u);
    EXPECT_EQ(log.finished, 1);
    EXPECT_TRUE(log.canceled);
    EXPECT_TRUE(scan.Canceled());
  }

  FolderScan scan;
  ScanLog log;
  log.Attach(scan);
  scan.Start({big});
  scan.Start({dir / "small"});
  scan.Wait();
  scan.DeliverFinished();
  EXPECT_EQ(log.found, Paths{dir / "small/one.mp4"});
  EXPECT_EQ(log.finished, 1);
  EXPECT_FALSE(log.canceled);
}

class FileIntakeTest : public StoreTest {
 protected:
  FileIntakeTest() {
    intake.ProgressText = [this](const std::string& text) { progress.push_back(text); };
    intake.SearchEnded = [this](size_t found, bool canceled) { ends.push_back({found, canceled}); };
  }

  ListboxModel tasks;
  FileIntake intake{tasks, host};
  Paths progress;
  std::vector<std::pair<size_t, bool>> ends;
};

TEST_F(FileIntakeTest, DropsResolveShortcutsAddEveryFileAndScanFolders) {
  const std::string v = dir / "v";
  Touch(v + "/My Clip.mp4");
  Touch(v + "/real.avi");
  Touch(v + "/app target.mkv");
  Touch(v + "/folder/b.mp3");
  Touch(v + "/folder/a.wav");
  Touch(v + "/folder/skip.doc");
  Touch(v + "/link.desktop",
        "[Desktop Entry]\nType=Link\nName=clip\nURL=file://" + ReplaceAll(v, " ", "%20") + "/My%20Clip.mp4\n");
  Touch(v + "/app.desktop", "# a launcher\n[Desktop Entry]\nType=Application\nExec=player --full \"file://" + v +
                                "/app target.mkv\"\n[Desktop Action x]\nURL=file:///elsewhere\n");
  Touch(v + "/web.desktop", "[Desktop Entry]\nType=Link\nURL=https://example.org/a.mp4\n");
  ::symlink("real.avi", (v + "/alias.mp4").c_str());
  ::symlink("gone.avi", (v + "/dangling.mp4").c_str());
  ::symlink("folder", (v + "/folder link").c_str());

  intake.DropFiles({v + "/link.desktop", v + "/app.desktop", v + "/web.desktop", v + "/alias.mp4",
                    v + "/dangling.mp4", v + "/missing.mkv", "", v + "/folder link"});
  EXPECT_EQ(RowPaths(tasks), (Paths{v + "/My Clip.mp4", v + "/app target.mkv", v + "/web.desktop",
                                    v + "/real.avi", v + "/dangling.mp4", v + "/missing.mkv"}));
  EXPECT_EQ(progress.front(), "My Clip  1/6 | " + v + "/My Clip.mp4");
  EXPECT_EQ(progress.back(), "missing  6/6 | " + v + "/missing.mkv");
  EXPECT_TRUE(intake.Scanning());

  intake.FinishScan();
  const Paths rows = RowPaths(tasks);
  EXPECT_EQ(Paths(rows.begin() + 6, rows.end()), (Paths{v + "/folder/a.wav", v + "/folder/b.mp3"}));
  EXPECT_EQ(progress.back(), "b  2/2 | " + v + "/folder/b.mp3");
  EXPECT_EQ(ends, (std::vector<std::pair<size_t, bool>>{{2, false}}));
  EXPECT_EQ(host.infos.back(), "完成 | 已经完成任务搜索。");
  EXPECT_FALSE(intake.Scanning());

  // A second start hands its files over in one text.
  tasks.Clear();
  intake.AddHandedOver(v + "/real.avi||" + v + "/My Clip.mp4");
  EXPECT_EQ(RowPaths(tasks), (Paths{v + "/real.avi", v + "/My Clip.mp4"}));
}

TEST_F(FileIntakeTest, ADropStopsTheScanBeforeIt) {
  intake.AddFolder(BigTree(dir));
  Touch(dir / "one.mp4");
  intake.DropFiles({dir / "one.mp4"});
  intake.FinishScan();
  EXPECT_EQ(RowPaths(tasks), Paths{dir / "one.mp4"});
  EXPECT_EQ(ends, (std::vector<std::pair<size_t, bool>>{{0, true}}));
}

TEST_F(StoreTest, DiscDrivesAreListedAndBecomeMEncoderTasks) {
  const std::string dev = dir / "dev";
  for (const char* name : {"sr0", "sr1", "sda", "sr", "srx1", "hdc"}) Touch(dev + "/" + name);
  ::symlink("sr0", (dev + "/cdrom").c_str());
  Touch(dir / "info", "CD-ROM information, Id: cdrom.c 3.20 2003/12/17\n\ndrive name:\t\tsr1\tsr0\thdc\thdd\n"
                      "drive speed:\t\t24\t24\t0\t0\n");
  EXPECT_EQ(OpticalDrives(dev, dir / "info"), (Paths{dev + "/hdc", dev + "/sr0", dev + "/sr1"}));
  EXPECT_EQ(OpticalDrives(dev, dir / "no-info"), (Paths{dev + "/sr0", dev + "/sr1"}));

  ListboxModel tasks;
  host.answer = false;
  EXPECT_FALSE(AddDiscTask(tasks, host, dev + "/sr0"));
  EXPECT_EQ(tasks.ListCount(), 0);
  EXPECT_TRUE(host.messages.empty());

  host.answer = true;
  EXPECT_TRUE(AddDiscTask(tasks, host, dev + "/sr0"));
  ASSERT_EQ(tasks.ListCount(), 1);
  EXPECT_EQ(tasks.TitleText(0), "DVD");
  EXPECT_EQ(tasks.List(0), "sr0");
  EXPECT_EQ(tasks.ListComment(0), dev + "/sr0");
  EXPECT_EQ(tasks.ListOther(0), "|||");
  EXPECT_EQ(SourceKindOf(tasks.PathFromIndex(0)), SourceKind::Disc);
  const std::string mencoder = WriteScript(dir / "mencoder", "exit 0");
  EXPECT_TRUE(IsMEncoderJob(tasks.PathFromIndex(0), "mp4", mencoder));
  EXPECT_EQ(host.questions, (Paths{"是否添加为 DVD 光盘抓取任务？", "是否添加为 DVD 光盘抓取任务？"}));
  EXPECT_EQ(host.messages, Paths{"请注意：DVD 抓取不支持部分输出格式。"});
}

TEST_F(StoreTest, ListCommandsAskTheirQuestionsAndFollowTheAnswer) {
  struct Case {
    const char* name;
    int files, fileSelected, tasks, taskSelected;
    bool answer;
    std::function<void(ListboxModel& files, ListboxModel& tasks, JobHost& host)> command;
    Paths questions, messages;
    int filesAfter, tasksAfter;
  };
  const auto add = [](ListboxModel& f, ListboxModel& t, JobHost& h) { MoveFilesToTasks(f, t, h); };
  const auto removeFile = [](ListboxModel& f, ListboxModel&, JobHost& h) { RemoveSelectedRow(f, ListKind::Files, h); };
  const auto removeTask = [](ListboxModel&, ListboxModel& t, JobHost& h) { RemoveSelectedRow(t, ListKind::Tasks, h); };
  const auto clear = [](ListboxModel&, ListboxModel& t, JobHost& h) { ClearRows(t, h); };
  const auto uncut = [](ListboxModel&, ListboxModel& t, JobHost& h) { ClearCutPoints(t, h); };
  const auto preview = [](std::string mode) {
    return [mode](ListboxModel&, ListboxModel&, JobHost& h) { PreviewAllowed(mode, h); };
  };
  const std::string allFiles = "未选定任何文件，是否将所有文件添加为任务？";
  const std::string inFiles = "请先在文件列表内选定文件。", inTasks = "请先在任务列表内选定文件";
  const std::string removeRow = "是否从列表里删除这个项目？", clearAll = "是否清除所有项目？";
  const Case cases[] = {
      {"add from an empty list", 0, -1, 0, -1, true, add, {}, {inFiles}, 0, 0},
      {"add the selected file", 3, 1, 1, -1, true, add, {}, {}, 2, 2},
      {"add all, refused", 3, -1, 0, -1, false, add, {allFiles}, {}, 3, 0},
      {"add all", 3, -1, 1, -1, true, add, {allFiles}, {}, 0, 4},
      {"remove no file", 2, -1, 0, -1, true, removeFile, {}, {inFiles}, 2, 0},
      {"remove no task", 0, -1, 2, -1, true, removeTask, {}, {inTasks}, 0, 2},
      {"remove a task, refused", 0, -1, 2, 0, false, removeTask, {removeRow}, {}, 0, 2},
      {"remove a task", 0, -1, 2, 0, true, removeTask, {removeRow}, {}, 0, 1},
      {"clear an empty list", 0, -1, 0, -1, true, clear, {}, {}, 0, 0},
      {"clear, refused", 0, -1, 2, -1, false, clear, {clearAll}, {}, 0, 2},
      {"clear", 0, -1, 2, -1, true, clear, {clearAll}, {}, 0, 0},
      {"points of no task", 0, -1, 2, -1, true, uncut, {}, {inTasks}, 0, 2},
      {"preview in the cut mode", 0, -1, 0, -1, true, preview("直接剪切"), {}, {std::string(StrDirectModeRefused)}, 0, 0},
      {"preview in the join mode", 0, -1, 0, -1, true, preview(" 直接合并"), {}, {std::string(StrDirectModeRefused)}, 0, 0},
      {"preview of a format", 0, -1, 0, -1, true, preview("MP4"), {}, {}, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RecordingHost scripted;
    scripted.answer = c.answer;
    ListboxModel files, tasks;
    for (int i = 0; i < c.files; ++i) files.AddItem("f" + std::to_string(i), "", "", "", dir / ("f" + std::to_string(i) + ".mp4"));
    for (int i = 0; i < c.tasks; ++i) AddToTaskList(tasks, dir / ("t" + std::to_string(i) + ".mp4"));
    files.SetListIndex(c.fileSelected);
    tasks.SetListIndex(c.taskSelected);
    c.command(files, tasks, scripted);
    EXPECT_EQ(scripted.questions, c.questions);
    EXPECT_EQ(scripted.messages, c.messages);
    EXPECT_EQ(files.ListCount(), c.filesAfter);
    EXPECT_EQ(tasks.ListCount(), c.tasksAfter);
  }

  // The moved file is the selected one, and it becomes a task of its own.
  ListboxModel files, tasks;
  for (const char* name : {"a.mp4", "b.mkv"}) files.AddItem(name, "", "", "", dir / name);
  files.SetListIndex(1);
  EXPECT_EQ(MoveFilesToTasks(files, tasks, host), 1);
  EXPECT_EQ(RowPaths(tasks), Paths{dir / "b.mkv"});
  EXPECT_EQ(RowPaths(files), Paths{dir / "a.mp4"});

  // Points cleared: the record is "|||" again and the comment the one the row was made with.
  WriteText("12345", dir / "b.mkv", false);
  tasks.SetListIndex(0);
  const std::string made = tasks.ListComment(0);
  ASSERT_TRUE(WriteCutToSelectedTask(tasks, dir / "b.mkv", "00:00:01,000", "00:00:02,000", "2"));
  EXPECT_TRUE(ClearCutPoints(tasks, host));
  EXPECT_EQ(tasks.ListOther(0), "|||");
  EXPECT_EQ(tasks.ListComment(0), "MKV, 6B");
  EXPECT_NE(tasks.ListComment(0), made) << "the size is read again";

  for (std::string_view key : kPictureSettingKeys) WriteSetting(key, "16");
  WriteSetting("VideoPadBorder", "1.33");
  ClearPictureSettings();
  for (std::string_view key : kPictureSettingKeys) EXPECT_EQ(ReadSetting(key), "0") << key;
  EXPECT_EQ(ReadSetting("VideoPadBorder"), "1.33");
}

TEST_F(StoreTest, ResultFilesAreCopiedMovedOrTrashedNeverOverwriting) {
  const std::string out = dir / "out", to = dir / "to";
  Touch(out + "/a.mp4", "new a");
  Touch(out + "/b.mp4", "new b");
  Touch(to + "/b.mp4", "old b");
  const Paths files{out + "/a.mp4", out + "/b.mp4"};

  host.answer = false;
  for (const FileCommandResult& r : {CopyFiles(files, to, host), MoveFiles(files, to, host), DeleteFiles(files, host)}) {
    EXPECT_TRUE(r.asked && !r.accepted && r.done.empty());
  }
  EXPECT_EQ(host.questions, (Paths{"是否复制所有文件？", "是否移动所有文件？",
                                   "是否删除所有文件？请注意，文件一旦被删除将无法恢复。"}));
  EXPECT_TRUE(FileExists(out + "/a.mp4") && !FileExists(to + "/a.mp4"));
  EXPECT_FALSE(CopyFiles({}, to, host).asked);

  host.answer = true;
  FileCommandResult copied = CopyFiles(files, to, host);
  EXPECT_EQ(copied.done, Paths{to + "/a.mp4"});
  EXPECT_EQ(copied.failed, Paths{out + "/b.mp4"});
  EXPECT_EQ(host.infos.back(), "问题 | 目标文件已经存在，未被覆盖: " + to + "/b.mp4");
  EXPECT_EQ(ReadText(to + "/a.mp4"), "new a\n");
  EXPECT_EQ(ReadText(to + "/b.mp4"), "old b\n");
  EXPECT_EQ(ReadText(out + "/a.mp4"), "new a\n");

  ::unlink((to + "/a.mp4").c_str());
  FileCommandResult moved = MoveFiles(files, to, host);
  EXPECT_EQ(moved.done, Paths{to + "/a.mp4"});
  EXPECT_FALSE(FileExists(out + "/a.mp4"));
  EXPECT_TRUE(FileExists(out + "/b.mp4"));
  EXPECT_EQ(ReadText(to + "/b.mp4"), "old b\n");
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(to)) ++entries;
  EXPECT_EQ(entries, 2u) << "no scratch file is left beside the targets";

  // Deleting goes to the trash, under a second name when the first is taken.
  EnvGuard data("XDG_DATA_HOME", dir / "data");
  Touch(dir / "again/b 1.mp4", "second");
  Touch(out + "/b 1.mp4", "first");
  EXPECT_EQ(DeleteFiles({out + "/b 1.mp4", dir / "again/b 1.mp4", out + "/none.mp4"}, host).failed,
            Paths{out + "/none.mp4"});
  const std::string trash = dir / "data/Trash/";
  EXPECT_EQ(ReadText(trash + "files/b 1.mp4"), "first\n");
  EXPECT_EQ(ReadText(trash + "files/b 1.2.mp4"), "second\n");
  EXPECT_FALSE(FileExists(out + "/b 1.mp4"));
  const std::string info = ReadText(trash + "info/b 1.2.mp4.trashinfo");
  EXPECT_TRUE(StartsWith(info, "[Trash Info]\nPath=" + ReplaceAll(dir / "again/b 1.mp4", " ", "%20") +
                                   "\nDeletionDate=2"))
      << info;
}

// "立即复制" places every output beside what the device holds, under a free
// name, says which failed, and leaves the sources; a move takes the source.
TEST_F(StoreTest, OutputsAreCopiedToADeviceUnderFreeNames) {
  const std::string out = dir / "out", device = dir / "device/videos";
  Touch(out + "/a.mp4", "a");
  Touch(out + "/b.mp4", "b");
  Touch(device + "/b.mp4", "kept");
  const Paths copies = CopyToDevice({out + "/a.mp4", out + "/b.mp4"}, device, host);
  EXPECT_EQ(copies, (Paths{device + "/a.mp4", device + "/b(1).mp4"}));
  EXPECT_EQ(ReadText(device + "/b.mp4"), "kept\n");
  EXPECT_EQ(ReadText(device + "/b(1).mp4"), "b\n");
  EXPECT_TRUE(FileExists(out + "/a.mp4") && FileExists(out + "/b.mp4"));
  EXPECT_EQ(host.messages.back(), "所有文件已经复制到目标目录。");

  EXPECT_EQ(CopyToDevice({out + "/gone.mp4", out + "/a.mp4"}, dir / "fresh", host), Paths{dir / "fresh/a.mp4"});
  EXPECT_EQ(host.infos.back(), "问题 | 无法复制文件: " + out + "/gone.mp4");
  EXPECT_EQ(host.messages.back(), "失败的复制或移动文件操作");

  const auto going = [](int64_t, int64_t) { return true; };
  EXPECT_EQ(TransferFile(out + "/a.mp4", device, true, going), device + "/a(1).mp4");
  EXPECT_FALSE(FileExists(out + "/a.mp4"));
  EXPECT_EQ(TransferFile(out + "/b.mp4", device, false, [](int64_t, int64_t) { return false; }), "")
      << "a stopped copy places nothing";
  EXPECT_FALSE(FileExists(device + "/b(2).mp4"));
  EXPECT_TRUE(FileExists(out + "/b.mp4"));
}

TEST(FileIntake, SearchAddressesForAFilesBaseName) {
  struct Case {
    std::string_view engine, path, url;
  };
  const Case cases[] = {
      {"Google", "/v/My Song & Dance+1.mp3", "https://www.google.com/search?q=My+Song+%26+Dance%2B1"},
      {"BaiDu", "/v/影音.mkv", "https://www.baidu.com/s?wd=%E5%BD%B1%E9%9F%B3"},
      {"Mp3Search.com", "/v/a b.mp3", "https://www.google.com/search?q=a+b+mp3"},
      {"YouTube", "clip", "https://www.youtube.com/results?search_query=clip"},
      {"Nobody", "/v/a.mp3", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(SearchUrl(c.engine, c.path), c.url) << c.engine;

  for (std::string_view name : {"Google", "Google China", "Google Video", "BaiDu", "gougou", "YouTube", "Yahoo!",
                                "Altavista", "HotBot", "About.com", "DogPile", "DejaNews", "LookSmart", "Kanoodle",
                                "NBCi", "Northern Light", "MetaCrawler", "WebCrawler", "Search.com", "Excite",
                                "Mp3Search.com", "Mp3Board", "MusicSeek", "MediaCrawler", "Music.com"}) {
    EXPECT_TRUE(StartsWith(SearchUrl(name, "x"), "https://")) << name;
  }
}

}  // namespace
}  // namespace zel::test
