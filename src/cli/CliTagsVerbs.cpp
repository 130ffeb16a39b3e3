// zel-cli tags: the text frames and embedded pictures of an MP3 file's ID3v2
// tag, read and changed as the player does it.
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageWriter>
#include <cstdio>
#include <optional>
#include <string>

#include "cli/CliHost.h"
#include "base/FileHelpers.h"
#include "subtitles/Mp3Tags.h"
#include "base/TextHelpers.h"

namespace zel::cli {
namespace {

constexpr int kJpegQuality = 85;

int Usage() {
  std::fputs(
      "usage: zel-cli tags FILE [--info]\n"
      "       zel-cli tags FILE --count\n"
      "       zel-cli tags FILE --extract N OUT\n"
      "       zel-cli tags FILE --add IMAGE [--type 0-20] [--yes]\n"
      "       zel-cli tags FILE --delete N [--yes]\n",
      stderr);
  return 2;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "zel-cli: %s\n", message.c_str());
  return 1;
}


std::optional<int> Number(const std::string& text, int low, int high) {
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) return {};
  const int value = std::stoi(text);
  if (value < low || value > high) return {};
  return value;
}

struct TagsOptions {
  std::string file;
  std::string action = "--info";
  int index = 0;      // the picture of --extract and --delete, from 1
  int type = 3;       // the picture type of --add: front cover unless told
  std::string other;  // OUT of --extract, IMAGE of --add
};

std::optional<TagsOptions> ParseTagsOptions(const Args& args) {
  TagsOptions options;
  int actions = 0;
  bool typed = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const size_t left = args.size() - i - 1;
    if (arg == "--count" || arg == "--info") {
      options.action = arg;
      ++actions;
    } else if ((arg == "--extract" && left >= 2) || (arg == "--delete" && left >= 1)) {
      const std::optional<int> index = Number(args[++i], 1, 999999);
      if (!index) return std::nullopt;
      options.action = arg;
      options.index = *index;
      if (arg == "--extract") options.other = AbsolutePath(args[++i]);
      ++actions;
    } else if (arg == "--add" && left >= 1) {
      options.action = arg;
      options.other = AbsolutePath(args[++i]);
      ++actions;
    } else if (arg == "--type" && left >= 1) {
      const std::optional<int> type = Number(args[++i], 0, 20);
      if (!type) return std::nullopt;
      options.type = *type;
      typed = true;
    } else if (!StartsWith(arg, "-") && options.file.empty()) {
      options.file = AbsolutePath(arg);
    } else {
      return std::nullopt;
    }
  }
  if (options.file.empty() || actions > 1 || (typed && options.action != "--add")) return std::nullopt;
  return options;
}

// Whether the file starts with an MPEG audio frame's sync bits.
bool StartsWithMpegAudio(const std::string& path) {
  unsigned char head[2] = {};
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) return false;
  const size_t n = std::fread(head, 1, sizeof head, f);
  std::fclose(f);
  return n == 2 && head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
}

std::optional<QByteArray> Encoded(const QImage& image, const char* format, int quality) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  if (!image.save(&buffer, format, quality)) return std::nullopt;
  return bytes;
}

std::string_view View(const QByteArray& bytes) { return {bytes.constData(), static_cast<size_t>(bytes.size())}; }

// The owner's write bit stands for the read-only flag, as the tag code sees it.
bool ReadOnly(const std::string& path) {
  struct stat st {};
  return ::stat(path.c_str(), &st) == 0 && ((st.st_mode & S_IWUSR) == 0 || ::access(path.c_str(), W_OK) != 0);
}

// Whether a read-only file may be rewritten: asked, or answered by --yes.
bool MayRewrite(CliHost& host, const std::string& path) {
  return !ReadOnly(path) || host.Ask(path + " is read-only. Clear the read-only flag and rewrite it?", false);
}

int Info(const std::string& file) {
  const Mp3TextFrames tags = ReadTextFrames(file);
  const std::string_view genreName = Id3GenreName(tags.genre);
  const std::string genre = tags.genre < 0       ? ""
                            : !genreName.empty() ? std::string(genreName)
                                                 : std::to_string(tags.genre);
  const std::pair<const char*, std::string> lines[] = {
      {"title", tags.title},
      {"artist", tags.artist},
      {"album", tags.album},
      {"year", tags.year != 0 ? std::to_string(tags.year) : ""},
      {"comment", tags.comment},
      {"genre", genre},
      {"track", tags.track != 0 ? std::to_string(tags.track) : ""},
      {"pictures", std::to_string(GetAlbumArtCount(file))},
  };
  for (const auto& [name, value] : lines) std::printf("%s: %s\n", name, value.c_str());
  const std::string cover = CheckAblumImage(file);
  if (!cover.empty()) std::printf("cover: %s\n", cover.c_str());
  return 0;
}

// The image saved in the form OUT's extension names when Qt writes it, else as JPEG.
int Extract(const std::string& file, int index, const std::string& out) {
  std::string bytes;
  int type = 0;
  if (!ReadAlbumArt(file, index, bytes, type)) return Fail(file + " has no readable picture " + std::to_string(index));
  const QImage image = QImage::fromData(QByteArray::fromStdString(bytes));
  if (image.isNull()) return Fail("picture " + std::to_string(index) + " of " + file + " is no image Qt can read");
  if (SameFile(out, file)) return Fail(out + " is the MP3 file itself; nothing was written");
  const QByteArray extension = QByteArray::fromStdString(LowerAscii(ExtensionOf(out)));
  const bool known = !extension.isEmpty() && QImageWriter::supportedImageFormats().contains(extension);
  const QByteArray format = known ? extension : QByteArray("jpg");
  const bool jpeg = format == "jpg" || format == "jpeg";
  const std::optional<QByteArray> encoded = Encoded(image, format.constData(), jpeg ? kJpegQuality : -1);
  if (!encoded) return Fail("cannot encode the picture as " + format.toStdString());
  if (!WriteFileAtomic(out, View(*encoded))) return Fail("cannot write " + out);
  std::printf("picture %d (type %d) written to %s\n", index, type, out.c_str());
  return 0;
}

// The new picture goes first in the tag, so that it is the one a player shows.
int Add(CliHost& host, const std::string& file, const std::string& imagePath, int type) {
  // A tag is put in front of any file that lacks one; files plainly no MP3 are refused.
  if (!ID3Exist(file) && !StartsWithMpegAudio(file)) {
    return Fail(file + " has no ID3 tag and no MPEG audio at its start; it is unchanged");
  }
  if (!FileExists(imagePath)) return Fail(imagePath + ": no such file");
  const QImage image = QImage::fromData(QByteArray::fromStdString(ReadText(imagePath)));
  if (image.isNull()) return Fail(imagePath + " is no image Qt can read");
  const std::optional<QByteArray> jpeg = Encoded(image, "jpg", kJpegQuality);
  if (!jpeg) return Fail("cannot encode " + imagePath + " as JPEG");
  if (!MayRewrite(host, file)) return Fail(file + " is read-only; it is unchanged (--yes clears the flag)");
  if (!WriteAlbumArt(file, 1, View(*jpeg), type, true)) {
    return Fail("cannot add the picture to " + file +
                " (a damaged or unsupported tag, or an unwritable folder); it is unchanged");
  }
  std::printf("pictures: %d\n", GetAlbumArtCount(file));
  return 0;
}

int Delete(CliHost& host, const std::string& file, int index) {
  if (index > GetAlbumArtCount(file)) return Fail(file + " has no picture " + std::to_string(index));
  if (!MayRewrite(host, file)) return Fail(file + " is read-only; it is unchanged (--yes clears the flag)");
  if (!DeleteAlbumArt(file, index, true)) {
    return Fail("cannot delete picture " + std::to_string(index) + " of " + file +
                " (a damaged tag, or an unwritable folder); it is unchanged");
  }
  std::printf("pictures: %d\n", GetAlbumArtCount(file));
  return 0;
}

}  // namespace

int Tags(const Args& arguments) {
  Args args = arguments;
  CliHost host(TakeYes(args));
  const std::optional<TagsOptions> options = ParseTagsOptions(args);
  if (!options) return Usage();
  const std::string& file = options->file;
  if (!FileExists(file)) return Fail(file + ": no such file");
  if (options->action == "--count") {
    std::printf("%d\n", GetAlbumArtCount(file));
    return 0;
  }
  if (options->action == "--extract") return Extract(file, options->index, options->other);
  if (options->action == "--add") return Add(host, file, options->other, options->type);
  if (options->action == "--delete") return Delete(host, file, options->index);
  return Info(file);
}

}  // namespace zel::cli
