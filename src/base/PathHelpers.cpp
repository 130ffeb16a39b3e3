#include "base/PathHelpers.h"

namespace zel {

namespace {

// Where the file's name begins: after the last "/", or at 0.
size_t NameStart(std::string_view path) {
  const size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? 0 : slash + 1;
}

}  // namespace

PathParts SplitExtension(std::string_view path) {
  const size_t dot = path.rfind('.');
  if (dot == std::string_view::npos || dot < NameStart(path)) return {path, {}};
  return {path.substr(0, dot), path.substr(dot)};
}

std::string ExtensionOf(std::string_view path) {
  const std::string_view dotted = SplitExtension(path).extension;
  return dotted.empty() ? std::string() : std::string(dotted.substr(1));
}

std::string FolderOf(std::string_view path) { return std::string(path.substr(0, NameStart(path))); }

std::string FileNameOf(std::string_view path) { return std::string(path.substr(NameStart(path))); }

std::string BaseNameOf(std::string_view path) { return FileNameOf(SplitExtension(path).stem); }

std::string DiscDeviceOf(std::string_view drive) {
  if (drive.ends_with(':')) drive.remove_suffix(1);
  if (drive.starts_with('/')) return std::string(drive);
  std::string root;
  for (const char c : drive) root += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  return root + ":/";
}

std::string cPath(std::string_view path) {
  std::string result(path);
  if (!result.empty() && result.back() != '/') result += '/';
  return result;
}

}  // namespace zel
