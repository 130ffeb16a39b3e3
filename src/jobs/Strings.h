// The string table: every text the program shows or writes for the user, in
// its one language. Each text is a named constant; code outside this file
// never spells a user-visible Chinese text itself.
#pragma once

#include <array>
#include <string_view>

namespace zel {

using Text = std::string_view;

// ---- Yes/no words of the settings store, and the information list ----
inline constexpr Text StrYes = "是";
inline constexpr Text StrNo = "否";
inline constexpr Text StrInfoProblem = "问题";
inline constexpr Text StrInfoNotice = "注意";
inline constexpr Text StrInfoDone = "完成";

// ---- Start-up and shut-down ----
inline constexpr Text StrToolsMissing = "遗失重要程序组件，请重新下载安装软件。";
inline constexpr Text StrToolsMissingCode = "错误代码：";
inline constexpr Text StrUnpackingTools = "正在初始化 工具 ";
inline constexpr Text StrNewBuildReset = "新版本设置已经初始化。";
inline constexpr Text StrCoreInitialized = " Initialized";
inline constexpr Text StrCoreFailed = "FFmpeg 编码核心无法初始化，请检查工具目录中的 FFmpeg 程序。";
inline constexpr Text StrAviSynth = "AviSynth";
inline constexpr Text StrAviSynthOptional = "可选，如启用 AVS 支持请安装 AviSynth。";
inline constexpr Text StrCancelJobBeforeQuit = "请先取消正在进行的任务后再退出程序！";
inline constexpr Text StrQuitNow = "是否立即退出程序？";

// ---- The main window ----
inline constexpr Text StrWindowDropHere = "将视频、音频、图片或字幕文件拖放到这里";
inline constexpr Text StrWindowInfoList = "信息";
inline constexpr Text StrWindowIdle = "准备就绪";
inline constexpr Text StrFieldOutputFolder = "输出目录";
inline constexpr Text StrFieldOutputFolderNull = "来源文件目录";
inline constexpr Text StrFieldFormat = "输出格式";
inline constexpr Text StrSplitCutHead = "去开始";
inline constexpr Text StrSplitCutTail = "去结束";
inline constexpr Text StrButtonAddFiles = "添加文件";
inline constexpr Text StrButtonSettings = "设置";
inline constexpr Text StrButtonLog = "日志";
inline constexpr Text StrButtonResults = "结果";
inline constexpr Text StrButtonProfiles = "方案";
inline constexpr Text StrButtonPause = "暂停";
inline constexpr Text StrButtonResume = "继续";
inline constexpr Text StrButtonMinimize = "最小化";
inline constexpr Text StrButtonMaximize = "最大化";
inline constexpr Text StrButtonClose = "关闭";
inline constexpr Text StrButtonBack = "返回";
inline constexpr Text StrPanelSettings = "全部设置";
inline constexpr Text StrPanelLog = "转换日志";
inline constexpr Text StrPanelResults = "处理结果";
inline constexpr Text StrPanelProfiles = "预置转换方案";
inline constexpr Text StrPreviewPlayerName = "预览播放器";
inline constexpr Text StrFinishMenuButton = "任务完成后";
inline constexpr Text StrStatusField = "状态";
// The tools menu and what its entries say.
inline constexpr Text StrButtonTools = "工具";
inline constexpr Text StrToolsOptions = "选项设置";
inline constexpr Text StrToolsUserSettings = "用户设置方案";
inline constexpr Text StrToolsSaveSettings = "保存";
inline constexpr Text StrToolsLoadSettings = "载入";
inline constexpr Text StrToolsProfileFiles = "用户设置方案 (*.xml)";
inline constexpr Text StrToolsApplyProfile = "应用选定的方案";
inline constexpr Text StrToolsShowChooser = "启动时显示快速选择";
inline constexpr Text StrToolsCopyMediaInfo = "复制媒体信息";
inline constexpr Text StrToolsCopyLog = "复制日志";
inline constexpr Text StrToolsCancelTask = "取消当前任务";
inline constexpr Text StrToolsReset = "初始化程序设置";
inline constexpr Text StrToolsHelp = "使用说明";
inline constexpr Text StrToolsExit = "退出程序";
inline constexpr Text StrToolsCopied = "已复制到剪贴板。";
inline constexpr Text StrNoOpticalDrive = "没有找到光盘驱动器。";
inline constexpr Text StrNoHelpFile = "找不到使用说明文件。";
inline constexpr Text StrFormatNote = "格式说明";
inline constexpr Text StrLoadTaskList = "载入任务列表";
inline constexpr Text StrSaveTaskList = "保存任务列表";
inline constexpr Text StrTaskListFiles = "任务列表文件 (*.ini)";
inline constexpr Text StrOpenOutputFolder = "打开保存目录";
inline constexpr Text StrDeleteAllFiles = "删除所有文件";
inline constexpr Text StrMoveAllFiles = "移动所有文件…";
inline constexpr Text StrCopyAllFiles = "复制所有文件…";
inline constexpr Text StrSizeGrip = "调整窗口大小";
inline constexpr Text StrOpenFilesTitle = "添加文件";
inline constexpr Text StrAboutTools = "工具";

// ---- Settings reset ----
inline constexpr Text StrResetAllQuestion = "是否初始化程序设置? 程序将在初始化设置后关闭，请重新启动程序。";
inline constexpr Text StrRestartToApply = "请立即重新启动程序以应用新的程序设置。";
inline constexpr Text StrResetFormatQuestion = "已手工更改输出格式，是否将所有视频、音频相关基本设置还原到默认值？";
inline constexpr Text StrBaseSettingsReset = "基本设置被重设";

// ---- Labels that the settings store keeps as values ----
inline constexpr Text StrSplitPointToPoint = "点到点";
inline constexpr Text StrSplitHeadTail = "去头尾";
inline constexpr Text StrFinishNotify = "提示";
inline constexpr Text StrFinishBalloon = "气泡";
inline constexpr Text StrX264ConstantQuality = "恒定质量模式";
inline constexpr Text StrX264ConstantQuantizer = "恒定量化模式";
inline constexpr Text StrAutoSubtitleFileAndTrack = "生成文件和字幕流";
inline constexpr Text StrAspectKeep = "比例缩放";
inline constexpr Text StrTransitionFade = "渐变";
inline constexpr Text StrRepeatOnce = "单次";
inline constexpr Text StrShowSettingWindow = "设置窗口";
inline constexpr Text StrSubtitleEditShiftBlock = "时间块整体偏移";
inline constexpr Text StrSubtitleEditPlayAll = "整体播放";
inline constexpr Text StrKaraokeNoEffect = "没有效果";
inline constexpr Text StrKaraokeFill = "渐变显示";
inline constexpr Text StrKaraokeByWord = "逐字显示";
inline constexpr Text StrScreenshotComment = "ZEL Screenshot";

// ---- Output formats ----
inline constexpr Text StrDirectCut = "直接剪切";
inline constexpr Text StrDirectJoin = "直接合并";
inline constexpr Text StrMoreFormats = "更多格式";
inline constexpr Text StrBackOneLevel = "返回上一级 （鼠标右键）";
inline constexpr Text StrDisableVideo = "禁用视频";
inline constexpr Text StrDisableAudio = "禁用音频";
inline constexpr Text StrDisableSubtitle = "禁用字幕";
inline constexpr Text StrMEncoderBased = "基于 MEncoder 编码核心的";
inline constexpr Text StrCustomFormat = "自定义设置并且不需要指定输出格式时使用。";

// What each output format is, shown under the format field.
struct FormatSentence {
  Text name;  // lower case
  Text sentence;
};
inline constexpr std::array<FormatSentence, 70> StrFormatSentences{{
    {"直接合并", "将队列里的所有任务进行直接合并处理，必须确保所有文件的编码格式、参数一致…"},
    {"直接剪切", "将任务按剪切、分段设置进行直接剪切处理。"},
    {"rmvb", "RMVB 格式使用 RealVideo 3 视频编码标准，Cooker 音频编码标准。输出 RMVB 格式不支持剪切…"},
    {"mp4", "MP4 格式使用 MPEG4 视频编码标准，AAC 音频编码标准。"},
    {"3gp", "3GP 格式使用 H.263 或 MPEG4 视频编码标准，AMR 或 AAC 音频编码标准。"},
    {"h264", "H264 格式使用 H.264 视频编码标准，AAC 音频编码标准。"},
    {"mkv", "MKV 格式使用 H.264 视频编码标准，AAC 音频编码标准，Matroska 容器标准。"},
    {"divx", "DIVX 格式使用 MPEG4 视频编码标准，MP3 音频编码标准，AVI 容器标准。"},
    {"xvid", "XVID 格式使用 Xvid MPEG4 视频编码标准，MP3 音频编码标准，AVI 容器标准。"},
    {"wmv", "WMV 格式使用 WMV8 视频编码标准，WMA 音频编码标准。"},
    {"asf", "ASF 格式使用 WMV8 视频编码标准，WMA 音频编码标准，ASF 容器标准。"},
    {"webm", "WebM 格式使用 VPX 视频编码标准，VORBIS 音频编码标准。"},
    {"amv", "AMV 格式使用 AMV 视频编码标准，ADPCM 音频编码标准。"},
    {"avi", "AVI 格式使用 MPEG4 视频编码标准，MP3 音频编码标准。"},
    {"flv", "FLV 格式使用 H.263 视频编码标准，MP3 音频编码标准。"},
    {"mov", "MOV 格式使用 MPEG4 视频编码标准，AAC 音频编码标准，QuickTime 容器标准。"},
    {"mpeg", "MPEG 格式使用 MPEG1 视频编码标准，MP2 音频编码标准。"},
    {"mjpeg", "MJPEG 格式使用 Motion JPEG 视频编码标准，PCM 音频编码标准，AVI 容器标准。"},
    {"psp", "PSP 格式使用 H.264 视频编码标准，AAC 音频编码标准，MP4 容器标准。"},
    {"ipod", "IPOD 格式使用 H.264 视频编码标准，AAC 音频编码标准，M4V 容器标准。"},
    {"iphone", "IPHONE 格式使用 H.264 视频编码标准，AAC 音频编码标准，M4V 容器标准。"},
    {"svi", "SVI 格式使用 Xvid MPEG4 视频编码标准，MP3 音频编码标准，SVI 容器标准。"},
    {"mp3", "MP3 格式使用 MPEG-1 Layer 3 音频编码标准。"},
    {"aac", "AAC 格式使用 AAC 音频编码标准。"},
    {"m4a", "M4A 格式使用 AAC 音频编码标准，MP4 容器标准。"},
    {"wma", "WMA 格式使用 WMA 音频编码标准，ASF 容器标准。"},
    {"ogg", "OGG 格式使用 VORBIS 音频编码标准，OGG 容器标准。"},
    {"flac", "FLAC 格式使用 FLAC 无损音频编码标准。"},
    {"ac3", "AC3 格式使用 Dolby Digital AC-3 音频编码标准。"},
    {"amr", "AMR 格式使用 AMR 窄带语音编码标准。"},
    {"gif", "GIF 格式使用 GIF 图像编码标准，可保存动画。"},
    {"jpg", "JPG 格式使用 JPEG 图像编码标准。"},
    {"jpeg", "JPEG 格式使用 JPEG 图像编码标准。"},
    {"png", "PNG 格式使用 PNG 无损图像编码标准。"},
    {"srt", "SRT 格式使用 SubRip 文本字幕标准。"},
    {"ssa", "SSA 格式使用 SubStation Alpha 字幕标准。"},
    {"ass", "ASS 格式使用 Advanced SubStation Alpha 字幕标准。"},
    {"lrc", "LRC 格式使用 LRC 歌词标准。"},
    {"copyto", "将列表内的文件复制到指定的输出目录。"},
    {"moveto", "将列表内的文件移动到指定的输出目录。"},
    {"mp2", "MP2 格式使用 MPEG-1 Layer 2 音频编码标准。"},
    {"wav", "WAV 格式使用 PCM 无压缩音频编码标准。"},
    {"tif", "TIF 格式使用 TIFF 图像编码标准。"},
    {"tiff", "TIFF 格式使用 TIFF 图像编码标准。"},
    {"bmp", "BMP 格式使用无压缩的位图图像编码标准。"},
    {"ksc", "KSC 格式使用 KSC 卡拉OK歌词标准。"},
    {"krc", "KRC 格式使用 KRC 卡拉OK歌词标准。"},
    {"smi", "SMI 格式使用 SAMI 字幕标准。"},
    {"sami", "SAMI 格式使用 SAMI 字幕标准。"},
    {"snc", "SNC 格式使用 SNC 歌词标准。"},
    {"qly", "QLY 格式使用 QLY 歌词标准。"},
    {"utf", "UTF 格式使用 UTF 文本字幕标准。"},
    {"stl", "STL 格式使用 Spruce STL 字幕标准。"},
    {"vsf", "VSF 格式使用 VSF 字幕标准。"},
    {"dks", "DKS 格式使用 DKS 字幕标准。"},
    {"txt", "TXT 格式使用纯文本字幕标准。"},
    {"stxt", "STXT 格式使用带时间的文本字幕标准。"},
    {"mpeg-ts", "MPEG-TS 格式使用 MPEG2 视频编码标准，MP2 音频编码标准，TS 容器标准。"},
    {"pal-vcd", "PAL-VCD 格式使用 MPEG1 视频编码标准，MP2 音频编码标准，PAL 制式 VCD 光盘标准。"},
    {"ntsc-vcd", "NTSC-VCD 格式使用 MPEG1 视频编码标准，MP2 音频编码标准，NTSC 制式 VCD 光盘标准。"},
    {"film-vcd", "FILM-VCD 格式使用 MPEG1 视频编码标准，MP2 音频编码标准，电影帧率 VCD 光盘标准。"},
    {"pal-svcd", "PAL-SVCD 格式使用 MPEG2 视频编码标准，MP2 音频编码标准，PAL 制式 SVCD 光盘标准。"},
    {"ntsc-svcd", "NTSC-SVCD 格式使用 MPEG2 视频编码标准，MP2 音频编码标准，NTSC 制式 SVCD 光盘标准。"},
    {"film-svcd", "FILM-SVCD 格式使用 MPEG2 视频编码标准，MP2 音频编码标准，电影帧率 SVCD 光盘标准。"},
    {"pal-dvd", "PAL-DVD 格式使用 MPEG2 视频编码标准，AC3 音频编码标准，PAL 制式 DVD 光盘标准。"},
    {"ntsc-dvd", "NTSC-DVD 格式使用 MPEG2 视频编码标准，AC3 音频编码标准，NTSC 制式 DVD 光盘标准。"},
    {"film-dvd", "FILM-DVD 格式使用 MPEG2 视频编码标准，AC3 音频编码标准，电影帧率 DVD 光盘标准。"},
    {"jpeg+thm", "创建带有 THM 附属预览图片的 JPEG 图片。"},
    {"video", "仅复制视频流。"},
    {"audio", "仅复制音频流。"},
}};

// ---- Profiles ----
inline constexpr Text StrUserProfileTitle = "用户自定义设置方案";
inline constexpr Text StrUserSettings = "用户设置";
inline constexpr Text StrSaved = "已保存。";
inline constexpr Text StrCannotSave = "无法保存。";
inline constexpr Text StrCannotLoad = "无法载入。";
inline constexpr Text StrLoaded = "已载入。";
inline constexpr Text StrLoadProfileQuestion = "是否载入用户设置？";
inline constexpr Text StrOverwriteProfileQuestion = "是否覆盖保存到已存在的文件？";
inline constexpr Text StrOverwriteListQuestion = "是否覆盖已经存在的文件？";
inline constexpr Text StrApplyProfileQuestion = "是否立刻应用选定的方案：";
inline constexpr Text StrProfileVideoUnsupported = "当前编码引擎不支持该方案的视频编码格式，请手工修改视频编码格式。";
inline constexpr Text StrProfileAudioUnsupported = "当前编码引擎不支持该方案的音频编码格式，请手工修改音频编码格式。";
inline constexpr Text StrProfilesLoaded = "个预置转换方案被载入。欢迎您提交转换设置到内置方案。";
inline constexpr Text StrAllProfiles = "全部方案";
inline constexpr Text StrBackToCategories = "返回类别选择";
inline constexpr std::array<Text, 16> StrProfileCategories{
    "通用视频方案", "通用音乐方案", "光盘刻录格式", "播放器/游戏机/照相机", "通用手机方案", "Apple",
    "Android",      "HTC / 多普达", "魅族 M8",      "诺基亚手机",           "索尼爱立信",   "摩托罗拉",
    "Samsung / LG", "BlackBerry / Palm", "日系手机", "其他手机方案",
};

// The quick chooser shown after start.
inline constexpr Text StrChooseJoin = "影音直接合并";
inline constexpr Text StrChooseSplit = "影音直接切割";
inline constexpr Text StrChooseFormats = "快速转换格式";
inline constexpr Text StrChooseProfiles = "预置转换方案";
inline constexpr Text StrChooseLater = "暂不选择";
inline constexpr Text StrChooseDontShow = "不再显示";

// ---- Tasks and the check before a run ----
inline constexpr Text StrAutoAudioTag = "音频: 自动";
inline constexpr Text StrStartPoint = "开始点";
inline constexpr Text StrEndPoint = "结束点";
inline constexpr Text StrPartsCount = "分段数";
inline constexpr Text StrAddTasksFirst = "请先添加任务";
inline constexpr Text StrAddFilesFirst = "请先添加文件";
inline constexpr Text StrMoveNeedsFolder = "文件不需要移动到原始目录。";
inline constexpr Text StrMoveQuestion = "文件将被移动到指定的保存目录，是否继续？";
inline constexpr Text StrTaskCancelled = "指定任务已被取消";
inline constexpr Text StrPartsInvalid = "请设置有效的分段数量";
inline constexpr Text StrTwoPassNeedsConstantRate = "2Pass 编码时请设定为视频恒定码率";
inline constexpr Text StrOnlyMobileSizes = "编码格式只支持 128x96, 176x144, 352x288, 704x576 等分辨率";
inline constexpr Text StrOnly8000Sampling = "编码格式只支持 8000 数值的音频采样设置";
inline constexpr Text StrOnlyMono = "编码格式只支持单声道音频设置";
inline constexpr Text StrOnlyAmrRates = "编码格式只支持 4.75, 5.15, 5.9, 6.7, 7.4, 7.95, 10.2, 12.2 等音频码率设置";
inline constexpr Text StrOnlyFlvSampling = "编码格式只支持 11025、22050、44100 数值的音频采样设置";
inline constexpr Text StrNoMono = "编码格式不支持单声道音频设置";
inline constexpr Text StrNeedMusicFile = "需要设置有效音乐文件";
inline constexpr Text StrLabelPicture = "视频画面设置";
inline constexpr Text StrLabelBorder = "强制边框";
inline constexpr Text StrLabelVolume = "音频音量";
inline constexpr Text StrLabelCut = "切割设置";
inline constexpr Text StrLabelContainer = "强制容器格式";
inline constexpr Text StrIsSet = "已被设置";
inline constexpr Text StrRmvbIgnoresCut = "输出格式为 RMVB 时切割设置无效";
inline constexpr Text StrSourceVanished =
    "请检查来源文件是否存在，并确保文件名不包含非法字符，是否将问题来源从列表移除？";

// ---- The task loop and its log ----
inline constexpr Text StrLogCheckTasks = "开始检测任务";
inline constexpr Text StrLogStartTasks = "启动任务";
inline constexpr Text StrLogTaskLoop = "进入任务循环: ";
inline constexpr Text StrLogTaskSettings = " 设置";
inline constexpr Text StrLogMEncoderJob = "执行 ME 转换任务: ";
inline constexpr Text StrLogRealMediaJob = "执行 RM 转换任务: ";
inline constexpr Text StrLogFFmpegJob = "执行 FF 转换任务: ";
inline constexpr Text StrLogFinishRun = "完成并还原状态";
inline constexpr Text StrLogJoinOutputs = "执行合并输出项目";
inline constexpr Text StrLogDirectCut = "执行直接分割任务: ";
inline constexpr Text StrLogDirectJoin = "执行直接合并任务";
inline constexpr Text StrLogKaraokeGraph = "执行音乐影片任务: ";
inline constexpr Text StrNoKaraokePictures = "没有可以制作音乐影片的图片!";
inline constexpr Text StrJoinedSuffix = "_合并文件";
inline constexpr Text StrStartingTask = "正在启动任务";
inline constexpr Text StrTransferFailed = "失败的复制或移动文件操作";
inline constexpr Text StrAllFilesCopied = "所有文件已经复制到目标目录。";
inline constexpr Text StrTransferPanelHead = "将文件复制到您的其他设备上:";
inline constexpr Text StrTransferListTitle = "所有完成处理的文件:";
inline constexpr Text StrTransferNow = "立即复制";
inline constexpr Text StrTransferChooseFolder = "请选择您设备的目标保存目录。";
inline constexpr Text StrNoFilesMade = "没有创建任何文件";
inline constexpr Text StrNoFilesMadeHint = "请按说明检查并判断造成无法创建文件的问题原因。";
inline constexpr Text StrCannotWriteFile = "无法写入文件: ";
inline constexpr Text StrToolMissing = "找不到所需的工具: ";
inline constexpr Text StrProgressWord = "进度";
inline constexpr Text StrCancelRunQuestion = "是否取消正在转换的任务?";
inline constexpr Text StrButtonStart = "开始";
inline constexpr Text StrButtonCancel = "取消";
inline constexpr Text StrButtonCancelAll = "取消所有处理";
inline constexpr Text StrCopyTo = "copyto";
inline constexpr Text StrMoveTo = "moveto";
inline constexpr Text StrJpegThm = "jpeg+thm";
inline constexpr Text StrCreditMade = "制作";

// ---- What the engine's events show ----
inline constexpr Text StrTwoPassWord = "2Pass 编码";
inline constexpr Text StrPassWord = " Pass";
inline constexpr Text StrAviSynthOn = "AVS 被启用";
inline constexpr Text StrErrorOccurred = "发生错误";
inline constexpr Text StrCancelledWord = "已取消";
inline constexpr Text StrSearchingStart = "正在检索开始点位置，请稍等...";
inline constexpr Text StrMuxingSubtitle = "正在合成字幕流";
inline constexpr Text StrAutoSubtitleNone = "不处理";
inline constexpr Text StrAutoSubtitleFile = "生成文件";
inline constexpr std::array<Text, 6> StrPriorityLabels{"最低", "低于标准", "标准", "高于标准", "高", "实时"};

// ---- The end of a run ----
inline constexpr Text StrFinishNothing = "无";
inline constexpr Text StrFinishShutDown = "关机";
inline constexpr Text StrFinishRestart = "重起";
inline constexpr Text StrFinishLogOff = "注销";
inline constexpr Text StrFinishQuit = "退出";
inline constexpr Text StrFinishSound = "声音";
inline constexpr Text StrFinishResults = "列表";
inline constexpr Text StrFinishOpen = "打开";
inline constexpr Text StrAllTasksDone = "全部任务已完成。假如文件创建失败或设置无效，请按软件帮助检查并解决问题。";
inline constexpr Text StrAllTasksDoneTitle = "全部任务已完成";

// ---- The tray icon ----
// What the tray control's error event says, as the control has always said it.
inline constexpr Text StrTrayNoIcon = "Ic鬾e standard non d閒inie";
inline constexpr Text StrTrayNotAdded = "SysTray non charg?";
inline constexpr Text StrTrayBlinkNotStarted = "SysTray non d閙arr?";

// ---- The settings rows ----
inline constexpr Text StrRowsClickLabelNote = "点击项目说明文字, 可以使相应项目设置恢复初始数值.";
inline constexpr Text StrRowsAviSynthNote = "在主界面启用 AVS 支持可以打开更多设置项目";
inline constexpr Text StrRowsCarefulNote = "谨慎修改，推荐默认值";
inline constexpr Text StrShowSettingMainScreen = "主界面";
inline constexpr Text StrAviSynthButtonOpen = "打开 AVS 支持";
inline constexpr Text StrAviSynthButtonClose = "关闭 AVS 支持";
inline constexpr Text StrCutHeadLength = "去开始";
inline constexpr Text StrCutTailLength = "去结束";

inline constexpr Text StrGroupKaraoke = "音乐视频设置";
inline constexpr Text StrGroupVideo = "视频设置";
inline constexpr Text StrGroupAudio = "音频设置";
inline constexpr Text StrGroupSubtitle = "字幕设置";
inline constexpr Text StrGroupImage = "图象设置";
inline constexpr Text StrGroupGrabber = "视频截图设置";
inline constexpr Text StrGroupOutput = "输出设置";
inline constexpr Text StrGroupAdvanced = "高级设置";
inline constexpr Text StrGroupCredits = "著作信息";
inline constexpr Text StrGroupAviSynth = "AVS 支持";
inline constexpr Text StrGroupAvsSubtitle = "字幕文字设置";
inline constexpr Text StrGroupAvsLogoText = "标志文字设置";
inline constexpr Text StrGroupAvsBanner = "滚动文字设置";
inline constexpr Text StrGroupAvsLogoImage = "标志图片设置";
inline constexpr Text StrGroupAvsInsertImage = "图片广告插入";
inline constexpr Text StrGroupAvsInsertVideo = "视频广告插入";
inline constexpr Text StrGroupAvsLayOver = "存在内容覆盖";
inline constexpr Text StrGroupAvsAudioReplace = "音频部分替换";
inline constexpr Text StrGroupPlayer = "播放器设置";
inline constexpr Text StrGroupShortcuts = "创建快捷方式";
inline constexpr Text StrGroupTools = "工具设置";
inline constexpr Text StrGroupProgram = "程序设置";
inline constexpr Text StrGroupGuide = "快速使用向导";
inline constexpr Text StrGuideHint = "按顺序点击向导项目可以快速开始";

// The choices of the rows whose values are words.
inline constexpr Text StrChoiceYesNo = "是|否";
inline constexpr Text StrChoiceKaraokeStyle = "没有效果|渐变显示|逐字显示";
inline constexpr Text StrChoiceX264Mode = "恒定质量模式|恒定量化模式";
inline constexpr Text StrChoiceAutoSubtitle = "不处理|生成文件|生成文件和字幕流";
inline constexpr Text StrChoiceGrabberFinished = "无|提示|声音|气泡|打开";
inline constexpr Text StrChoiceSplitMode = "点到点|去头尾";
inline constexpr Text StrChoiceAspect = "比例缩放|拉伸画面|居中缩放";
inline constexpr Text StrChoiceRepeat = "单次|重复";
inline constexpr Text StrRepeatAlways = "重复";
// The picture transitions in the order the player numbers them, from -2.
inline constexpr Text StrChoiceTransitions =
    "随机平移|随机|无|渐变|向右切入|向下切入|向左切入|向上切入|向右渐变切入|向下渐变切入|向左渐变切入|向上渐变切入|"
    "向右渐变推入|向下渐变推入|向左渐变推入|向上渐变推入|向右下渐变推入|向左下渐变推入|向左上渐变推入|向右上渐变推入|"
    "向右平移|向下平移|向左平移|向上平移|渐变缩放|渐变缩小|渐变打开";
inline constexpr Text StrChoiceShowSetting = "主界面|设置窗口";

// The label of each settings row by its key.
struct SettingLabel {
  Text key;
  Text label;
};
inline constexpr auto StrSettingLabels = std::to_array<SettingLabel>({
    {"KTVMusicFileName", "音乐文件"},
    {"KTVSubtitleFileName", "全局字幕"},
    {"KTVSubtitleFont", "字体设置"},
    {"KTVSubtitleForeColor", "字幕颜色"},
    {"KTVSubtitleEffectColor", "效果颜色"},
    {"KTVSubtitleShadowColor", "边框颜色"},
    {"KTVSubtitleOutline", "边框宽度"},
    {"KTVSubtitleAlpha", "透明程度"},
    {"KTVSubtitleSpeed", "显示速度"},
    {"KTVSubtitleStyle", "显示样式"},
    {"VideoCodec", "视频编码"},
    {"VideoSize", "画面尺寸"},
    {"VideoBitrate", "视频码率"},
    {"VideoFrame", "视频帧率"},
    {"VideoAspect", "视频比例"},
    {"VideoPadBorder", StrLabelBorder},
    {"Deinterlace", "视频反交错"},
    {"Twopass", "2Pass 编码"},
    {"x264QualityMode", "x264 编码模式"},
    {"MultiVideoTrackSupport", "多视频流支持"},
    {"AudioCodec", "音频编码"},
    {"AudioBitrate", "音频码率"},
    {"AudioSample", "音频采样"},
    {"AudioChannels", "音频声道"},
    {"AudioVolume", StrLabelVolume},
    {"MultiAudioTrackSupport", "多音频流支持"},
    {"SubtitleCodec", "字幕编码"},
    {"SubtitleLang", "语言代码"},
    {"SubtitleTag", "字幕标记"},
    {"SubtitleOffset", "字幕时间偏移"},
    {"AutoAddSubtitleTrack", "来源字幕文件"},
    {"AutoAddSubtitleTrackLang", "MP4 字幕流语言"},
    {"MultiSubtitleTrackSupport", "多字幕流支持"},
    {"SubtitleBIG5ToGB", "BIG5 -> GB 转换"},
    {"SubtitleEncodeFormat", "字幕保存编码格式"},
    {"ImageSize", "画面尺寸"},
    {"ImageQuality", "图片品质"},
    {"VideoCropTop", "切除顶边"},
    {"VideoCropBottom", "切除底边"},
    {"VideoCropLeft", "切除左边"},
    {"VideoCropRight", "切除右边"},
    {"ResetCrop", "全部置零"},
    {"VideoPadTop", "添加顶边"},
    {"VideoPadBottom", "添加底边"},
    {"VideoPadLeft", "添加左边"},
    {"VideoPadRight", "添加右边"},
    {"ResetPad", "全部置零"},
    {"VideoPadColor", "边框颜色"},
    {"ImageGrabber", "自动创建预览"},
    {"ImageGrabberThumbMatrix", "截图行列参数"},
    {"ImageGrabberThumbSpacing", "单帧间隔距离"},
    {"ImageGrabberMaxWidth", "单帧最大宽度"},
    {"ImageGrabberForeColor", "截图前景颜色"},
    {"ImageGrabberBackColor", "截图背景颜色"},
    {"ImageGrabberCommentString", "截图注脚信息"},
    {"ImageGrabberShowTimeString", "显示时间信息"},
    {"ImageGrabberFinished", "截图完成事件"},
    {"FileExistsOverwrite", "覆盖同名文件"},
    {"SourceFormat", "自动判断格式"},
    {"FileSuffix", StrLabelContainer},
    {"FileNameAddStringBefore", "文件名前插入字符"},
    {"FileNameAddStringAfter", "文件名尾插入字符"},
    {"JoinAllTask", "合并输出文件"},
    {"JoinAllTaskAndClean", "合并输出清理"},
    {"SplitMode", "剪切处理模式"},
    {"TimeStamp", "设置时间戳"},
    {"CopyTimeStamps", "复制时间戳"},
    {"AdditionalScripts", "转换命令扩展"},
    {"AdditionalPass1Scripts", "Pass 1 命令扩展"},
    {"InfoTitle", "标题信息"},
    {"InfoAuthor", "作者信息"},
    {"InfoCopyright", "版权信息"},
    {"AVSEnable", "启用AVS支持"},
    {"AVSFileJoin", "视频合并输出"},
    {"AVSSubtitle", "启用字幕支持"},
    {"AVSSubtitleFormat", "字幕控制"},
    {"AVSSubtitleFont", "字体设置"},
    {"AVSSubtitleColor", "字幕颜色"},
    {"AVSOverallSubtitle", "全局字幕"},
    {"AVSLogoText", "启用标志文字"},
    {"AVSLogoTextString", "文本水印文字"},
    {"AVSLogoTextFont", "文本字体设置"},
    {"AVSLogoTextColor", "文本水印颜色"},
    {"AVSLogoTextTimeStart", "开始显示时间"},
    {"AVSLogoTextTimeEnd", "结束显示时间"},
    {"AVSLogoTextAlign", "文本显示位置"},
    {"AVSBanner", "启用滚动文字"},
    {"AVSBannerString", "滚动水印文本"},
    {"AVSBannerFont", "滚动字体设置"},
    {"AVSBannerColor", "滚动文本颜色"},
    {"AVSBannerTimeStart", "开始显示时间"},
    {"AVSBannerTimeEnd", "结束显示时间"},
    {"AVSLogoImage", "启用标志图片"},
    {"AVSLogoImageFileName", "标志图片来源"},
    {"AVSLogoImagePosition", "标志图片位置"},
    {"AVSInsertImage", "启用图片广告"},
    {"AVSInsertImageFileName", "图片广告来源"},
    {"AVSInsertImagePosition", "图片广告位置"},
    {"AVSInsertImageTime", "图片广告长度"},
    {"AVSInsertVideo", "启用视频插入"},
    {"AVSInsertVideoFileName", "视频插入来源"},
    {"AVSInsertVideoPosition", "插入时间位置"},
    {"AVSLayOver", "启用内容覆盖"},
    {"AVSLayOverColor", "内容覆盖颜色"},
    {"AVSLayOverValue", "内容覆盖位置"},
    {"AVSAudioReplace", "启用音频替换"},
    {"AVSAudioReplaceFileName", "音频替换来源"},
    {"AVSAudioReplaceVolume", "音频替换比例"},
    {"MediaPlayNow", "影音格式单击播放"},
    {"Aspect", "画面显示模式"},
    {"SuffixChange", "播放容器修正"},
    {"SubtitleTimeOffset", "字幕时间偏移"},
    {"TimeJumpValue", "秒进秒退数值"},
    {"PlayerRepeat", "播放模式"},
    {"SystemVolume", "WinXP 下控制系统音量"},
    {"AlwaysShowStatusBarWhenMaximize", "最大时显示进度栏"},
    {"AllowLoadSubtitle", "允许载入字幕"},
    {"ImageTransEffects", "渐变"},
    {"MediaPlayerFontName", "播放器字体"},
    {"CompareWindowVerticalLayout", "视频对比垂直布局"},
    {"ShowTip", "显示选择窗口"},
    {"CheckMediaInfo", "载入来源预览"},
    {"ShowSystemScrollBar", "系统滚动条"},
    {"ShowItemFocus", "项目焦点框"},
    {"ShowSystemEffect", "界面特效"},
    {"HideWindowWhenMinimized", "最小化时隐藏窗口"},
    {"ShowSetting", "显示常用设置"},
    {"StatusRefreshInterval", "进度刷新间隔"},
    {"MaxThreads", "最大使用线程"},
    {"Log", "启用转换日志"},
    {"ShowStatus", "显示日志窗口"},
    {"DoNotIgnoreError", "检测错误"},
    {"InitialNewSetting", "版本更新时初始化"},
});

// The shortcut rows, by whether the shortcut is there, and what they report.
inline constexpr Text StrShortcutDesktopCreate = "在桌面创建快捷方式";
inline constexpr Text StrShortcutDesktopRemove = "移除桌面快捷方式";
inline constexpr Text StrShortcutOpenWithCreate = "增加快捷方式到发送到菜单";
inline constexpr Text StrShortcutOpenWithRemove = "移除发送到菜单快捷方式";
inline constexpr Text StrShortcutCreated = "快捷方式已经创建。";
inline constexpr Text StrShortcutRemoved = "快捷方式已经移除。";
inline constexpr Text StrShortcutFailed = "无法写入快捷方式: ";

// The file kinds the file rows' dialogs offer.
inline constexpr Text StrFilterAudioFiles = "音频文件";
inline constexpr Text StrFilterVideoFiles = "视频文件";
inline constexpr Text StrFilterImageFiles = "图片文件";
inline constexpr Text StrFilterSubtitleFiles = "字幕文件";

// The quick guide: the number of a step is put before its label with this mark.
inline constexpr Text StrGuideNumberMark = "、";
inline constexpr Text StrGuideAddFiles = "添加文件";
inline constexpr Text StrGuideAddFilesHint = "添加文件到列表";
inline constexpr Text StrGuideJoinOrder = "排列合并顺序";
inline constexpr Text StrGuideJoinOrderHint = "文件按列表顺序合并，调整任务的先后";
inline constexpr Text StrGuideMusicFile = "选择音乐文件";
inline constexpr Text StrGuideMusicFileHint = "设置音乐影片使用的音乐";
inline constexpr Text StrGuideLyricFile = "选择歌词文件";
inline constexpr Text StrGuideLyricFileHint = "设置随音乐显示的歌词字幕";
inline constexpr Text StrGuidePreview = "预览播放";
inline constexpr Text StrGuidePreviewHint = "播放被选定的打开文件";
inline constexpr Text StrGuideCutPoints = "设置开始点、结束点或分段数";
inline constexpr Text StrGuideCutPointsHint = "设置切割参数";
inline constexpr Text StrGuideOutputFolder = "设置保存目录";
inline constexpr Text StrGuideOutputFolderHint = "设置输出文件的路径";
inline constexpr Text StrGuideMoreSettings = "更多详细设置";
inline constexpr Text StrGuideMoreSettingsHint = "进入设置窗口修改更多自定义设置";
inline constexpr Text StrGuideStart = "开始执行操作";
inline constexpr Text StrGuideStartHint = "开始执行所有任务";
inline constexpr Text StrGuideBrowseOutput = "浏览保存目录";
inline constexpr Text StrGuideBrowseOutputHint = "用系统默认方式浏览保存目录";

// ---- The subtitle editor ----
inline constexpr Text StrSubtitleEditorTitle = "字幕编辑工坊";
inline constexpr Text StrSubtitleEditMedia = "影音文件";
inline constexpr Text StrSubtitleEditPlayback = "播放控制";
inline constexpr Text StrSubtitleEditPlayPause = "播放/暂停";
inline constexpr Text StrSubtitleEditTimes = "字幕时间";
inline constexpr Text StrSubtitleEditAutoFill = "自动填写";
inline constexpr Text StrSubtitleEditClearTime = "清空时间";
inline constexpr Text StrSubtitleEditBlockBack = "区块向前";
inline constexpr Text StrSubtitleEditBlockForward = "区块向后";
inline constexpr Text StrSubtitleEditOffsetSetting = "偏移设置";
inline constexpr Text StrSubtitleEditAdd = "添加字幕";
// Also the head of the question before a row goes.
inline constexpr Text StrSubtitleEditDelete = "删除字幕";
inline constexpr Text StrSubtitleEditAllBack = "全局向前";
inline constexpr Text StrSubtitleEditAllForward = "全局向后";
inline constexpr Text StrSubtitleEditPrevious = "上一句";
inline constexpr Text StrSubtitleEditNext = "下一句";
inline constexpr Text StrSubtitleEditClear = "清除字幕";
inline constexpr Text StrSubtitleEditOffsetUnit = " / 10 s";
inline constexpr Text StrSubtitleEditSelectToDelete = "请选中需要删除的字幕";
inline constexpr Text StrSubtitleEditShiftStart = "开始点偏移";
inline constexpr Text StrSubtitleEditShiftEnd = "结束点偏移";
inline constexpr Text StrSubtitleEditLoopRow = "单句循环";
inline constexpr Text StrSubtitleEditLoopAll = "整体循环";
inline constexpr Text StrSubtitleEditCannotOpen = "无法载入字幕文件: ";
inline constexpr Text StrSubtitleEditCannotSave = "无法保存字幕文件: ";
inline constexpr Text StrSubtitleEditOpen = "打开字幕";
inline constexpr Text StrSubtitleEditSave = "保存字幕";
inline constexpr Text StrSubtitleEditUndo = "撤销";
inline constexpr Text StrSubtitleEditRedo = "重做";
inline constexpr Text StrSubtitleEditSetStart = "设置开始";
inline constexpr Text StrSubtitleEditSetEnd = "设置结束";
inline constexpr Text StrSubtitleEditClearStart = "清空开始";
inline constexpr Text StrSubtitleEditClearEnd = "清空结束";
inline constexpr Text StrSubtitleEditStartBack = "开始向前";
inline constexpr Text StrSubtitleEditStartForward = "开始向后";
inline constexpr Text StrSubtitleEditEndBack = "结束向前";
inline constexpr Text StrSubtitleEditEndForward = "结束向后";
inline constexpr Text StrSubtitleEditList = "字幕列表";
inline constexpr Text StrSubtitleEditStartField = "开始时间";
inline constexpr Text StrSubtitleEditEndField = "结束时间";
inline constexpr Text StrSubtitleEditTextField = "字幕文字";
inline constexpr Text StrSubtitleEditOffsetType = "偏移方式";
inline constexpr Text StrSubtitleEditPlayType = "播放方式";
inline constexpr Text StrSubtitleEditPlayer = "字幕预览播放器";
inline constexpr Text StrSubtitleEditSaveChanges = "字幕已修改，是否保存？";
// Behind a button's caption in its tooltip: the keys that press it.
inline constexpr Text StrSubtitleEditKeys = "快捷键: ";

// ---- The compare view: a source and its output side by side ----
inline constexpr Text StrCompareTitle = "视频对比";
// The results' menu entry that opens the chosen output beside its source.
inline constexpr Text StrCompare = "对比";
inline constexpr Text StrCompareSideBySide = "并排";
inline constexpr Text StrCompareStacked = "上下";
inline constexpr Text StrCompareSplit = "分割线";
inline constexpr Text StrCompareSwap = "交换";
inline constexpr Text StrComparePlayPause = "播放/暂停";
inline constexpr Text StrComparePlayerOne = "对比播放器一";
inline constexpr Text StrComparePlayerTwo = "对比播放器二";
inline constexpr Text StrCompareFactsOne = "对比文件一";
inline constexpr Text StrCompareFactsTwo = "对比文件二";
// Where each file shows, before its facts.
inline constexpr Text StrCompareLeft = "左";
inline constexpr Text StrCompareRight = "右";
inline constexpr Text StrCompareTop = "上";
inline constexpr Text StrCompareBottom = "下";
inline constexpr Text StrCompareNoSource = "找不到该输出文件的源文件，无法对比。";
inline constexpr Text StrCompareOpenFailed = "无法打开对比的文件：";

// ---- Direct cut and join, RealMedia job ----
inline constexpr Text StrDirectModeRefused = "不支持在影音直接切割或合并模式下执行该操作";
// What the producer writes into a RealMedia file as its maker.
inline constexpr Text StrProducerDescription = "影音工坊";


// ---- File intake and the list commands ----
inline constexpr Text StrFilterAllSupported = "所有支持的格式";
inline constexpr Text StrFilterAllFiles = "所有文件格式";
inline constexpr Text StrFilterVideo = "视频格式";
inline constexpr Text StrFilterAudio = "音频格式";
inline constexpr Text StrFilterSubtitle = "字幕格式";
inline constexpr Text StrFilterImage = "图像格式";
inline constexpr Text StrAddFolder = "添加目录";
inline constexpr Text StrChooseFolderToAdd = "选择需要添加的目录";
inline constexpr Text StrSearchFinished = "已经完成任务搜索。";
inline constexpr Text StrOpticalDrives = "光盘驱动器";
inline constexpr Text StrAddDiscQuestion = "是否添加为 DVD 光盘抓取任务？";
inline constexpr Text StrDiscNote = "请注意：DVD 抓取不支持部分输出格式。";
inline constexpr Text StrFileListTitle = "备选文件列表";
inline constexpr Text StrTaskListTitle = "任务列表";
inline constexpr Text StrAddToTaskList = "加到任务列表";
inline constexpr Text StrAddAllFilesQuestion = "未选定任何文件，是否将所有文件添加为任务？";
inline constexpr Text StrSelectInFileListFirst = "请先在文件列表内选定文件。";
inline constexpr Text StrSelectInTaskListFirst = "请先在任务列表内选定文件";
inline constexpr Text StrRemoveRow = "删除";
inline constexpr Text StrRemoveRowQuestion = "是否从列表里删除这个项目？";
inline constexpr Text StrClearList = "清除";
inline constexpr Text StrClearListQuestion = "是否清除所有项目？";
inline constexpr Text StrClearCutPoints = "清除时间点设置";
inline constexpr Text StrClearPictureSettings = "清除画面设置";
inline constexpr Text StrDeleteFilesQuestion = "是否删除所有文件？请注意，文件一旦被删除将无法恢复。";
inline constexpr Text StrMoveFilesQuestion = "是否移动所有文件？";
inline constexpr Text StrCopyFilesQuestion = "是否复制所有文件？";
inline constexpr Text StrTargetExists = "目标文件已经存在，未被覆盖: ";
inline constexpr Text StrCannotDeleteFile = "无法删除文件: ";
inline constexpr Text StrCannotMoveFile = "无法移动文件: ";
inline constexpr Text StrCannotCopyFile = "无法复制文件: ";

}  // namespace zel
