// FFmpegX's pictures made without the tool: frames and thumbnail sheets taken
// from videos by the FFmpeg libraries, and still pictures converted.
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cstdlib>

#include "engine/FFmpegX.h"
#include "engine/FrameGrabber.h"
#include "engine/ImageFiles.h"
#include "engine/ProgressText.h"
#include "engine/ThumbnailSheet.h"

namespace zel {

namespace {

constexpr int kPspThumbWidth = 160, kPspThumbHeight = 120;
constexpr double kSheetTime = 5;  // seconds: the single grab of the callers after a run

// "&H" and a hexadecimal text, as the sheet colours are stored.
int ColourSetting(std::string_view hex) { return static_cast<int>(std::strtol(std::string(hex).c_str(), nullptr, 16)); }

QColor Darkened(const QColor& colour, double share) {
  return QColor::fromRgbF(colour.redF() * (1 - share), colour.greenF() * (1 - share), colour.blueF() * (1 - share));
}

// A sheet never replaces another: a taken name gets the time of day.
std::string SheetOutputPath(std::string path, std::string_view format) {
  if (ExtensionOf(path).empty()) path += "." + std::string(format);
  if (!FileExists(path)) return path;
  const PathParts parts = SplitExtension(path);
  const std::string stamped =
      std::string(parts.stem) + "_" + FormatLocalNow("%H%M%S") + std::string(parts.extension);
  return RenameExists(stamped, false);
}

// The facts of the header: size, picture size, duration and the range.
QString InformationLine(const std::string& source, int width, int height, double duration,
                        const ScreenshotRequest& r) {
  std::string line = SizeText(FileSize(source)) + ", " + std::to_string(width) + "x" + std::to_string(height) + ", " +
                     FormatMSecs(duration * 1000, kNotationDotMs);
  if (r.rangeEnd - r.rangeStart > 0) {
    line += " (" + FormatMSecs(r.rangeStart * 1000, kNotationDotMs) + "-" +
            FormatMSecs(r.rangeEnd * 1000, kNotationDotMs) + ")";
  }
  return QString::fromStdString(line);
}

void DrawBandsAndTexts(QPainter& painter, const SheetGeometry& sheet, const ScreenshotRequest& r,
                       const std::string& source, const FrameGrabber& grabber) {
  const QColor back = ColourFromValue(r.backColor), fore = ColourFromValue(r.foreColor);
  const int w = sheet.width;
  if (!r.comment.empty() && sheet.footer > 0) {
    const QRect band(0, sheet.height - sheet.footer, w, sheet.footer);
    DrawBand(painter, band, Darkened(back, 0.225), back);
    DrawKeypadText(painter, QString::fromStdString(r.comment),
                   QRect(20, band.top(), w - 40, band.height() - 5), 6, SheetFont(14), fore);
  }
  if (sheet.header <= 0) return;
  DrawBand(painter, QRect(0, 0, w, sheet.header), back, Darkened(back, 0.225));
  const QColor outline = Qt::white;
  DrawKeypadText(painter, QStringLiteral("ZEL ScreenShot"), QRect(30, 30, w - 60, sheet.header - 60), 4,
                 SheetFont(48), fore, outline);
  DrawKeypadText(painter, InformationLine(source, grabber.Width(), grabber.Height(), grabber.Duration(), r),
                 QRect(30, 30, w - 60, sheet.header - 55), 3, SheetFont(14), fore, outline);
  DrawKeypadText(painter, QString::fromStdString(FileNameOf(source)),
                 QRect(30, 30, w - 60, sheet.header - 60), 6, SheetFont(32), fore, outline);
}

}  // namespace

bool FFmpegX::Screenshot(ScreenshotRequest& r) {
  const std::string source = r.source.empty() ? toolInput_ : r.source;
  if (!r.besideOutput) {
    Report(kStatusStarting, source);
    Report(kStatusProcessing, source);
  }
  if (!FileExists(source)) {
    processing_ = false;
    return false;
  }
  processing_ = true;
  startTime_ = ClockNow();
  endTime_.clear();
  Report(kStatusCreateThumb, source);
  const bool texts = EnsureTextDrawing();

  FrameGrabber grabber(source);
  const int columns = std::max(1, r.columns), rows = std::max(1, r.rows);
  const int count = columns * rows;
  bool made = false, cancelled = false;
  if (grabber.IsOpen() && grabber.Width() > 0 && grabber.Height() > 0) {
    const int spacing = std::max(0, r.spacing);
    const SheetGeometry sheet = ComputeSheetGeometry(grabber.Width(), grabber.Height(), columns, rows, spacing,
                                                     r.maxWidth, r.cellWidth, r.cellHeight, !r.comment.empty());
    QImage picture(sheet.width, sheet.height, QImage::Format_RGB32);
    picture.fill(ColourFromValue(r.backColor));
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    max_ = static_cast<float>(count);
    for (int n = 1; n <= count; ++n) {
      if (cancelRequested_) {
        cancelled = true;
        break;
      }
      const double time = CellTime(n, count, grabber.Duration(), r.rangeStart, r.rangeEnd, r.time);
      const QRect cell = CellRect(sheet, n, columns, spacing);
      const QImage frame = grabber.FrameAt(time);
      if (!frame.isNull()) painter.drawImage(cell, frame);
      if (spacing > 0) {
        painter.setPen(ColourFromValue(r.foreColor));
        painter.drawRect(cell.adjusted(-1, -1, 0, 0));
      }
      if (r.showTime && texts) {
        DrawKeypadText(painter, QString::fromStdString(FormatMSecs(time * 1000, kNotationSrt)),
                       cell.adjusted(5, 5, -5, -5), 9, SheetFont(10), Qt::white);
      }
      value_ = static_cast<float>(n);
      if (ProgressChange) ProgressChange(n, count, 0, {}, {}, false);
      Pump();
    }
    if (!cancelled) {
      if (texts) DrawBandsAndTexts(painter, sheet, r, source, grabber);
      painter.end();
      r.outputPath = SheetOutputPath(r.outputPath, LowerAscii(r.format));
      made = SaveImageFile(picture, r.outputPath, LowerAscii(r.format), r.quality);
    }
  }

  if (cancelled) {
    Report(kStatusCanceled, source);
  } else {
    endTime_ = ClockNow();
    if (!r.besideOutput) Report(kStatusComplete, r.outputPath);
  }
  max_ = 100;
  value_ = 0;
  remainderInfo_.clear();
  outputInfo_.clear();
  if (ProgressChange) ProgressChange(0, 100, 0, {}, {}, true);
  processing_ = false;
  if (!cancelled && !(made && FileSize(r.outputPath) > 0)) Report(kStatusError, MsgGrabFailed);
  return made && !cancelled;
}

QImage FFmpegX::GetVideoFrame(const std::string& source, double time, int width, int height) {
  FrameGrabber grabber(source);
  QImage frame = grabber.FrameAt(time);
  if (frame.isNull() || width <= 0 || height <= 0) return frame;
  return frame.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

bool FFmpegX::ConvertImage(const std::string& source, const std::string& output, std::string_view format,
                           std::string_view size, int quality, int bitDepth, int fitMode) {
  const QImage picture = LoadImageFile(source);
  if (picture.isNull()) return false;
  const QSize target = TargetImageSize(size, picture.size());
  QImage result = fitMode == 6 ? FitIntoCanvas(picture, target)
                               : picture.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  if (bitDepth == 24) result = result.convertToFormat(QImage::Format_RGB888);
  return SaveImageFile(result, output, LowerAscii(format), quality);
}

void FFmpegX::ConvertImageJob() {
  // A suffix of the job's own (".THM" beside ".JPG") names the file; the picture's
  // format is the key's.
  outputFileName_ = OutputPathFor(FileNameSuffix.empty() ? forceFormat_ : FileNameSuffix);
  const std::string folder = FolderOf(outputFileName_);
  if (!folder.empty() && !DirectoryExists(folder)) MakedPath(folder);
  startTime_ = ClockNow();
  ConvertImage(FirstSource(), outputFileName_, forceFormat_, imageSize_, ImageQuality, 24, 6);
  endTime_ = ClockNow();
  if (FileSize(outputFileName_) >= 1) {
    Report(kStatusComplete, outputFileName_);
  } else {
    Report(kStatusError, FileExists(outputFileName_) ? MsgFileProblem : MsgCannotCreateFile);
  }
  processing_ = false;
}

void FFmpegX::GrabFrameJob() {
  ScreenshotRequest r;
  r.outputPath = outputFileName_;
  r.source = FirstSource();
  r.time = TimeStartPoint;
  r.format = forceFormat_;
  r.quality = ImageQuality;
  // One frame is the frame itself: no bands, no border.
  r.backColor = ColourSetting(ImageGrabberBackColor);
  r.foreColor = ColourSetting(ImageGrabberForeColor);
  Screenshot(r);
  outputFileName_ = r.outputPath;
}

void FFmpegX::BuildThumbnailSheet() {
  ScreenshotRequest r;
  r.outputPath = outputFileName_ + ".Thumb.jpg";
  r.source = outputFileName_;
  r.time = kSheetTime;
  r.format = "jpg";
  r.quality = ImageQuality;
  const std::vector<std::string> matrix = Split(LowerAscii(ImageGrabberThumbMatrix), "x");
  r.columns = matrix.empty() ? 1 : std::max(1, static_cast<int>(Val(matrix[0])));
  r.rows = matrix.size() < 2 ? 1 : std::max(1, static_cast<int>(Val(matrix[1])));
  r.spacing = ImageGrabberThumbSpacing;
  r.maxWidth = ImageGrabberMaxWidth;
  r.backColor = ColourSetting(ImageGrabberBackColor);
  r.foreColor = ColourSetting(ImageGrabberForeColor);
  r.comment = ImageGrabberCommentString;
  r.showTime = ImageGrabberShowTimeString;
  r.besideOutput = true;
  // The output is already the cut part, so the sheet spans all of it. The run's
  // own start time and state stay for its verdict.
  const std::string runStart = startTime_;
  Screenshot(r);
  startTime_ = runStart;
  processing_ = true;
}

void FFmpegX::WritePspSidecar() {
  if (FileSize(outputFileName_) <= 0) return;
  ScreenshotRequest r;
  r.outputPath = std::string(SplitExtension(outputFileName_).stem) + ".thm";
  r.source = outputFileName_;
  r.time = kSheetTime;
  r.format = "jpg";
  r.quality = 100;
  r.cellWidth = kPspThumbWidth;
  r.cellHeight = kPspThumbHeight;
  r.backColor = 0xFFFFFF;
  r.foreColor = 0;
  r.besideOutput = true;
  const std::string runStart = startTime_, runEnd = endTime_;
  Screenshot(r);
  startTime_ = runStart;
  endTime_ = runEnd;
}

}  // namespace zel
