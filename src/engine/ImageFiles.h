// Pictures on disk: reading any picture Qt knows, the size rules of the image
// converter, and saving by format key (JPEG with a quality, PNG, TIFF, BMP, and GIF
// plain or with a transparent colour through giflib).
#pragma once

#include <QImage>
#include <QSize>

#include <string>
#include <string_view>

namespace zel {

// The picture, or a null image. A file whose name does not tell its kind is read
// again from its bytes.
QImage LoadImageFile(const std::string& path);

// The size a picture of `original` takes for a size text: "Nmax" limits the long
// side to N, "N%" scales, "WxH" sets both (a side of 0 follows the shape); anything
// else keeps the size. No side falls below 3 pixels.
QSize TargetImageSize(std::string_view sizeText, QSize original);

// Fit mode 6: the picture inside a canvas of `canvas`, its shape kept, centred;
// what it does not cover stays black.
QImage FitIntoCanvas(const QImage& picture, QSize canvas);

// Saves by format key: "jpg"/"jpeg" (with `quality`), "png", "tif"/"tiff", "gif",
// "gif_t" (the colour of the top left pixel transparent), anything else BMP. The
// file is written beside its name and renamed, so a failure leaves nothing half
// written. False when nothing was saved.
bool SaveImageFile(const QImage& picture, const std::string& path, std::string_view format, int quality);

}  // namespace zel
