#include "engine/ImageFiles.h"

#include <gif_lib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel {

namespace {

int AtLeast3(double side) { return std::max(3, static_cast<int>(std::lround(side))); }

// A GIF of at most 256 colours, quantised by giflib; with `transparent`, the
// top left pixel's colour is the transparent one.
bool WriteGif(const QImage& picture, const std::string& path, bool transparent) {
  const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
  const auto width = static_cast<unsigned>(rgb.width()), height = static_cast<unsigned>(rgb.height());
  const size_t pixels = size_t{width} * height;
  std::vector<GifByteType> red(pixels), green(pixels), blue(pixels), indexes(pixels);
  for (unsigned y = 0; y < height; ++y) {
    const uchar* line = rgb.constScanLine(static_cast<int>(y));
    for (unsigned x = 0; x < width; ++x) {
      const size_t at = size_t{y} * width + x;
      red[at] = line[3 * x];
      green[at] = line[3 * x + 1];
      blue[at] = line[3 * x + 2];
    }
  }
  int colours = 256;
  std::vector<GifColorType> palette(256);
  if (GifQuantizeBuffer(width, height, &colours, red.data(), green.data(), blue.data(), indexes.data(),
                        palette.data()) == GIF_ERROR) {
    return false;
  }
  int error = 0;
  GifFileType* gif = EGifOpenFileName(path.c_str(), false, &error);
  if (gif == nullptr) return false;
  ColorMapObject* map = GifMakeMapObject(256, palette.data());
  bool ok = map != nullptr && EGifPutScreenDesc(gif, static_cast<int>(width), static_cast<int>(height), 8, 0, map) ==
                                  GIF_OK;
  if (ok && transparent) {
    GraphicsControlBlock control{};
    control.DisposalMode = DISPOSAL_UNSPECIFIED;
    control.TransparentColor = indexes.empty() ? 0 : indexes[0];
    GifByteType extension[4];
    const size_t length = EGifGCBToExtension(&control, extension);
    ok = EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(length), extension) == GIF_OK;
  }
  ok = ok && EGifPutImageDesc(gif, 0, 0, static_cast<int>(width), static_cast<int>(height), false, nullptr) == GIF_OK;
  for (unsigned y = 0; ok && y < height; ++y) {
    ok = EGifPutLine(gif, indexes.data() + size_t{y} * width, static_cast<int>(width)) == GIF_OK;
  }
  GifFreeMapObject(map);
  return EGifCloseFile(gif, &error) == GIF_OK && ok;
}

bool WriteWithQt(const QImage& picture, const std::string& path, std::string_view format, int quality) {
  QImageWriter writer(QString::fromStdString(path));
  if (format == "jpg" || format == "jpeg") {
    writer.setFormat("jpeg");
    writer.setQuality(std::clamp(quality, 0, 100));
    return writer.write(picture.convertToFormat(QImage::Format_RGB888));
  }
  if (format == "png") {
    writer.setFormat("png");
    return writer.write(picture);
  }
  if (format == "tif" || format == "tiff") {
    writer.setFormat("tiff");
    writer.setCompression(1);  // LZW
    return writer.write(picture.convertToFormat(QImage::Format_RGB888));
  }
  writer.setFormat("bmp");
  return writer.write(picture.convertToFormat(QImage::Format_RGB888));
}

}  // namespace

QImage LoadImageFile(const std::string& path) {
  QImage picture(QString::fromStdString(path));
  if (picture.isNull()) {
    const std::string bytes = ReadText(path);
    picture.loadFromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<int>(bytes.size()));
  }
  return picture;
}

QSize TargetImageSize(std::string_view sizeText, QSize original) {
  const std::string text = LowerAscii(Trim(sizeText));
  const double width = original.width(), height = original.height();
  if (width <= 0 || height <= 0) return original;
  double w = width, h = height;
  if (EndsWith(text, "max")) {
    const double limit = Val(text);
    if (limit > 0 && !(limit >= width && limit >= height)) {
      if (width >= height) {
        w = limit, h = height * limit / width;
      } else {
        h = limit, w = width * limit / height;
      }
    }
  } else if (EndsWith(text, "%")) {
    const double percent = Val(text);
    if (percent > 0) w = width * percent / 100, h = height * percent / 100;
  } else if (const size_t cross = text.find('x'); cross != std::string::npos) {
    double wantW = Val(text.substr(0, cross)), wantH = Val(text.substr(cross + 1));
    if (wantW <= 0 && wantH > 0) wantW = width * wantH / height;
    if (wantH <= 0 && wantW > 0) wantH = height * wantW / width;
    if (wantW > 0 && wantH > 0) w = wantW, h = wantH;
  }
  return {AtLeast3(w), AtLeast3(h)};
}

QImage FitIntoCanvas(const QImage& picture, QSize canvas) {
  QImage result(canvas, QImage::Format_RGB32);
  result.fill(Qt::black);
  if (picture.isNull() || canvas.isEmpty()) return result;
  const double byWidth = static_cast<double>(picture.width()) / canvas.width();
  const double byHeight = static_cast<double>(picture.height()) / canvas.height();
  QRectF target;
  if (byWidth > byHeight) {
    const double h = picture.height() / byWidth;
    target = QRectF(0, (canvas.height() - h) / 2, canvas.width(), h);
  } else {
    const double w = picture.width() / byHeight;
    target = QRectF((canvas.width() - w) / 2, 0, w, canvas.height());
  }
  QPainter painter(&result);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(target, picture);
  return result;
}

bool SaveImageFile(const QImage& picture, const std::string& path, std::string_view format, int quality) {
  if (picture.isNull() || path.empty()) return false;
  const std::string folder = FolderOf(path);
  const std::string temp = CreateTempFile(".zel-image-", folder.empty() ? "." : folder);
  if (temp.empty()) return false;
  const std::string key = LowerAscii(format);
  const bool written = (key == "gif" || key == "gif_t") ? WriteGif(picture, temp, key == "gif_t")
                                                        : WriteWithQt(picture, temp, key, quality);
  // The temporary file is private; the picture gets the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::chmod(temp.c_str(), 0666 & ~mask);
  if (!written || FileSize(temp) <= 0 || ::rename(temp.c_str(), path.c_str()) != 0) {
    DeleteFile(temp);
    return false;
  }
  return true;
}

}  // namespace zel
